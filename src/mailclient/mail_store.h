// The mail of a profile as accounts, mailboxes and messages, read from the disk and looked up by lasting
// names.
#pragma once

#include <compare>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/accounts.h"
#include "mailclient/environment.h"
#include "mailclient/folder_index.h"
#include "mailclient/folders.h"
#include "mailclient/keywords.h"

namespace quillbox::mailclient {

// A mailbox by its account's id ("On My Mac" for the local ones) and its path.
struct MailboxKey {
  std::string account;
  std::string path;
  auto operator<=>(const MailboxKey&) const = default;
};

// A message by its mailbox and its stableId (message_name.h), which stays when flags change and when it
// moves.
struct MessageKey {
  MailboxKey mailbox;
  std::string id;
  auto operator<=>(const MessageKey&) const = default;
};

// A mailbox as it was found; shared, as each of its messages names it.
using FolderRef = std::shared_ptr<const Folder>;

// A message found on disk; the file may have been renamed by the time it is used.
struct LocatedMessage {
  FolderRef mailbox;
  MessageFile file;
  const Folder& folder() const { return *mailbox; }
  Path path() const { return file.path(mailbox->directory); }
  const std::string& nativePath(std::string& path) const { return file.nativePath(mailbox->directory, path); }
};

enum class Lookup { remembered, rescanned };

// One thread at a time; MailClient holds the lock.
class MailStore {
 public:
  explicit MailStore(const Environment& environment) : environment_(environment), accounts_(environment) {}

  const Environment& environment() const { return environment_; }
  AccountStore& accounts() { return accounts_; }

  // By id; fails with accountNotFound.
  Result<MailAccount> account(std::string_view id);
  // By the name that people see. Of several that differ in case only, the one spelled so.
  Result<MailAccount> accountNamed(std::string_view name);
  // In listing order. A local store that was never used is empty; an account whose folder is gone fails with
  // maildirUnusable. What cannot be read is logged.
  Result<std::vector<Folder>> mailboxes(const MailAccount& account);
  // Fails with mailboxNotFound, and a sentence that names mailbox and account.
  Result<Folder> mailbox(const MailboxKey& key);

  // The folder's messages as they are now.
  Result<std::shared_ptr<FolderIndex>> messages(const Folder& folder);
  // The same as it was listed last, with our own changes since.
  Result<std::shared_ptr<FolderIndex>> listed(const Folder& folder);
  // The message's file; nothing when the folder has no such message. Fails with mailboxNotFound.
  Result<std::optional<MessageFile>> find(const Folder& folder, std::string_view id);
  // Fails with messageNotFound or mailboxNotFound. `known` is the mailbox as it was found a moment ago, for
  // those who ask for many of its messages; a fresh look looks for it too.
  Result<LocatedMessage> locate(const MessageKey& key, Lookup lookup = Lookup::remembered,
                                const FolderRef& known = nullptr);
  // Runs `use` on the message's file, again after a fresh look as long as it fails with ENOENT because
  // somebody renames the file meanwhile.
  template <class Use>
  auto withMessage(const MessageKey& key, Use&& use, const FolderRef& known = nullptr)
      -> decltype(use(std::declval<const LocatedMessage&>()));

  // Where messages are that others have moved inside their account, by their ids; one that is in none of its
  // mailboxes is not in the result. Lists every mailbox of the account. Fails when an account cannot be read
  // now.
  Result<std::map<MessageKey, MessageKey>> whereabouts(const std::vector<MessageKey>& keys);

  // As of the folder's dovecot-keywords, which is read again when it changed.
  Result<KeywordTable> keywords(const Path& folder);
  Result<Marks> marks(const MessageKey& key);

  // Tells the remembered listings of a change of our own.
  void noteRename(const Path& folder, std::string_view id, MessageFile file);
  void noteRemoval(const Path& folder, std::string_view id);
  // Forgets everything remembered about the folder.
  void forget(const Path& folder);

 private:
  static constexpr std::size_t kRememberedFolders = 32;
  static constexpr int kAttempts = 8;
  static constexpr int kLooks = 3;

  struct Remembered {
    std::string folder;
    std::shared_ptr<FolderIndex> index;
  };
  struct RememberedKeywords {
    FileInfo info;
    KeywordTable table;
  };

  std::shared_ptr<FolderIndex> remembered(const Path& folder);
  Result<std::shared_ptr<FolderIndex>> scan(const Folder& folder);
  // The same, from listings made now.
  Result<std::optional<MessageFile>> search(const Folder& folder, std::string_view id);

  const Environment& environment_;
  AccountStore accounts_;
  std::list<Remembered> remembered_;  // last used first
  std::map<std::string, RememberedKeywords> keywords_;
};

template <class Use>
auto MailStore::withMessage(const MessageKey& key, Use&& use, const FolderRef& known)
    -> decltype(use(std::declval<const LocatedMessage&>())) {
  auto located = locate(key, Lookup::remembered, known);
  for (int attempt = 0;; ++attempt) {
    if (!located) return std::unexpected(located.error());
    auto result = use(*located);
    constexpr int noSuchFile = 2;  // ENOENT
    if (result || result.error().number != noSuchFile || attempt == kAttempts) return result;
    located = locate(key, Lookup::rescanned);
  }
}

}  // namespace quillbox::mailclient
