// The mail client: accounts, mailboxes, messages and the selection of one profile, over Maildir trees.
//
//   MailClient mail(Environment{files, clock, random, log, profile / "mail"});
//   mail.start();                                       // cleans up after a crash
//   auto rows = mail.messages("Work", "INBOX");         // newest first
//   mail.select("Work", "INBOX", {rows->front().id});
//   ... scripts file the selection through MailSession (mail_session.h) ...
//   mail.undo();
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/accounts.h"
#include "mailclient/environment.h"
#include "mailclient/header_cache.h"
#include "mailclient/mail_store.h"
#include "mailclient/message_list.h"
#include "mailclient/mime.h"
#include "mailclient/recovery.h"
#include "mailclient/transaction.h"
#include "mailclient/view_state.h"

namespace quillbox::mailclient {

// A message as a list shows it.
struct MessageRow {
  std::string id;         // readable; stays when flags change and when the message moves
  std::string messageId;  // of the header, without angle brackets; empty when there is none
  std::string sender;
  std::string subject;
  std::string date;  // the Date header, or without one the time of arrival: "2026-03-01T08:15:00Z"
  bool read = false;
  int flagIndex = -1;
  std::string color;  // "none", "blue", "gray", "green", "orange", "purple", "red", "yellow"
  // Where it is, for lists over several mailboxes.
  std::string account;  // the account's name
  std::string mailbox;  // the path
};

// A row of a viewer. Where it stands for a collapsed conversation, `message` is the one that is shown.
struct ViewerRow {
  MessageRow message;
  RowKind kind = RowKind::message;
  std::size_t messages = 1;  // how many it stands for
  bool isSelected = false;
};

struct AddAccount {
  std::string name;
  Path path;  // absolute
  std::string server;
  AccountType type = AccountType::imap;
};

// Any thread; one lock serves all. Names of accounts are those that people see; "On My Mac" is the local
// store.
class MailClient {
 public:
  explicit MailClient(const Environment& environment);
  ~MailClient();
  MailClient(const MailClient&) = delete;
  MailClient& operator=(const MailClient&) = delete;

  // Closes what an interrupted run has left. Called once before the first use; an error is that of the disk.
  Result<void> start();

  // ---- accounts ----
  Result<MailAccount> addAccount(const AddAccount& account);
  // As they were added, without the local store.
  Result<std::vector<MailAccount>> accounts();
  Result<MailAccount> localStore();
  Result<void> removeAccount(std::string_view name);

  // ---- mailboxes ----
  // The paths, the inbox first.
  Result<std::vector<std::string>> mailboxes(std::string_view account);
  // Makes the mailbox and the missing ones above it.
  Result<void> makeMailbox(std::string_view account, std::string_view path);

  // ---- messages ----
  // Newest first by time of delivery; at most `limit` of them, none of the others is opened.
  Result<std::vector<MessageRow>> messages(std::string_view account, std::string_view path,
                                           std::size_t limit = SIZE_MAX);

  // ---- selection ----
  // Each id is a row's id or the text of a Message-ID header (with or without angle brackets). Nothing
  // changes when one is not found. Gives the number selected.
  Result<std::size_t> select(std::string_view account, std::string_view path,
                             const std::vector<std::string>& ids);
  Result<std::size_t> selectAll(std::string_view account, std::string_view path);
  // Finds the stored message that `bytes` is (piped from another reader): the same Message-ID header, or
  // without one the same content; the inboxes are searched first.
  Result<std::size_t> selectPiped(std::string_view bytes);
  Result<void> selectNothing();
  // Selects messages that others have moved where they are now, and no more those that are gone. Writes
  // nothing when every selected message is in its place.
  Result<void> followMessages();
  Result<std::vector<MessageRow>> selection();

  // ---- the viewer in front ----
  // What it shows, top to bottom; at most `limit` rows. None when no viewer is open.
  Result<std::vector<ViewerRow>> rows(std::size_t limit = SIZE_MAX);
  // As MessageList::navigate(). Nothing happens when no viewer is open.
  Result<void> navigate(Navigation way);

  // ---- filing ----
  // Takes the last filing back. Fails with nothingMatches when there is none.
  Result<UndoReport> undo();

 private:
  friend class MailSession;
  friend class MailModel;
  friend class StoreFollower;

  Result<std::pair<MailAccount, Folder>> mailboxNamed(std::string_view account, std::string_view path);
  Result<MessageRow> row(const MailAccount& account, const Folder& folder, const MessageFile& file);
  // The same in a list that was made a moment ago: of a message that was renamed since, or that cannot be
  // read. Nothing when it is gone.
  std::optional<MessageRow> listedRow(const MailAccount& account, const Folder& folder,
                                      const MessageFile& file);
  // navigate(), under the lock, once the selection has followed `moves`.
  Result<void> navigate(Navigation way, const Transaction::Moves& moves);
  Result<std::size_t> selectKeys(std::vector<MessageKey> keys);
  // The keys of the front viewer's selection, as far as their messages are still there.
  Result<std::vector<MessageKey>> selectedKeys();
  Result<std::optional<MessageKey>> findPiped(std::string_view bytes);
  // followMessages(), under the lock.
  Result<void> follow();
  Result<void> noteMoves(const Transaction::Moves& moves);

  const Environment environment_;
  std::timed_mutex mutex_;
  MailStore store_;
  ViewStateStore views_;
  HeaderCache headers_;
};

}  // namespace quillbox::mailclient
