// Tells those who show mail what other programs change in it, while they do.
//
//   StoreFollower follower(mail, watcher, [&](const StoreChange& change) { ... });   // main queue
//   follower.show({{account, "INBOX"}});        // the mailboxes whose messages are on the screen
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/observable.h"
#include "base/result.h"
#include "mailclient/mail_client.h"
#include "platform/directory_watcher.h"

namespace quillbox::mailclient {

struct StoreChange {
  bool accounts = false;            // an account came, went or was changed
  std::set<std::string> mailboxes;  // ids of the accounts whose list of mailboxes changed
  std::set<MailboxKey> messages;    // mailboxes shown in which a message came, went or was marked
  bool views = false;               // viewers, windows or the selection

  bool isEmpty() const { return !accounts && mailboxes.empty() && messages.empty() && !views; }
};

// Main queue only. Watches the folders of every account, the messages of the mailboxes shown and of those
// with selected messages, and the profile's own files. Where watching fails (the user's limit is used up)
// that is logged once, and the change is seen at the next look.
//
// Before it tells, the selection has followed: messages that others moved are selected where they are now.
class StoreFollower {
 public:
  // All outlive the follower. `changed` may call show().
  StoreFollower(MailClient& mail, DirectoryWatcher& watcher, std::function<void(const StoreChange&)> changed);
  StoreFollower(const StoreFollower&) = delete;
  StoreFollower& operator=(const StoreFollower&) = delete;

  void show(std::vector<MailboxKey> mailboxes);

 private:
  // What is known of the store, to tell a change from a rumour.
  struct Picture {
    std::vector<MailAccount> accounts;
    std::map<std::string, std::vector<Folder>> folders;  // by the account's id
    ViewState views;
  };

  // A watch stays with the directory that it began with, though another one may have come to its place by the
  // renaming of a folder above.
  struct Watch {
    std::uint64_t device = 0;  // 0 and 0: there was none
    std::uint64_t inode = 0;
    Subscription subscription;
  };

  Picture look();
  // Watches what the picture asks for; gives whether something is watched that was not.
  bool watch();
  void noticed(Path directory);

  MailClient& mail_;
  DirectoryWatcher& watcher_;
  const std::function<void(const StoreChange&)> changed_;
  std::vector<MailboxKey> shown_;
  Picture picture_;
  std::map<Path, Watch> watches_;
  std::map<Path, MailboxKey> messageFolders_;  // cur and new of the mailboxes watched
  bool isWatchingWell_ = true;
};

}  // namespace quillbox::mailclient
