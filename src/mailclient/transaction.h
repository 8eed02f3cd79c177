// What one script, or one command, does to the mail: marks, moves, copies and new mailboxes, as one filing of
// the journal.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/hash.h"
#include "base/result.h"
#include "mailclient/journal.h"
#include "mailclient/mail_store.h"

namespace quillbox::mailclient {

// Every change of the store passes here. A message is one file that is renamed: its new marks wait in memory
// until the message moves, another message is touched or the transaction ends, so that reading, labelling,
// flagging and moving a message is one rename, and a failure in the middle leaves each message filed or
// untouched.
//
// The journal's entry is begun with the first move, copy or new mailbox; marks alone leave none, since each
// is one rename and nothing to be taken back as a filing.
//
// Used under the lock of MailClient. A transaction that is destroyed without commit() was given up: what it
// did stays, and is closed by the next recovery.
class Transaction {
 public:
  // Where a message went, for those who hold its old key.
  using Moves = std::vector<std::pair<MessageKey, MessageKey>>;

  Transaction(const Environment& environment, MailStore& store) : environment_(environment), store_(store) {}

  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Messages that will probably be moved, a selection say. A move is renamed only when the journal on the
  // disk knows of it; for messages expected it learns of all at once, which takes one sync instead of one for
  // each.
  void expect(const std::vector<MessageKey>& keys);

  // The marks as this transaction leaves them.
  Result<Marks> marks(const MessageKey& key);
  Result<void> change(const MessageKey& key, const MarkChange& change);
  // Gives the message's new key. Moving a message to where it is does nothing.
  Result<MessageKey> move(const MessageKey& key, const MailboxKey& destination);
  // Gives the copy's key; a copy beside the original is one too.
  Result<MessageKey> copy(const MessageKey& key, const MailboxKey& destination);
  // Makes the mailbox and those above it that are missing. Fails with mailboxExists or invalidName.
  Result<Folder> makeMailbox(const std::string& account, const std::string& path);

  // Writes what still waits.
  Result<void> flush();
  // Ends the transaction: writes what waits, makes everything durable and closes the journal's entry.
  Result<void> commit();

  // Messages moved or copied so far; one that is copied and then moved is one.
  std::size_t filed() const { return filed_; }
  const Moves& moves() const { return moves_; }

 private:
  friend class Recovery;
  enum class Mode { move, copy };

  struct Pending {
    MessageKey key;
    MarkChange change;
  };
  // Whether a change alters the marks of messages alike; asked last.
  struct Asked {
    FolderRef mailbox;
    std::string info;  // of the name, from ":2," on
    MarkChange change;
    bool alters = false;
  };
  // What becomes of the marks of messages alike, so that it is found out once for all of them.
  struct Translation {
    std::string info;  // of the name as it is
    MarkChange change;
    std::string result;  // of the name as it will be
    std::shared_ptr<const MoveGroup> group;
  };
  // The messages of a mailbox that will probably be moved, in their order.
  struct Expected {
    std::deque<std::string> ids;
    std::unordered_map<std::string_view, std::size_t> places;  // in `ids`
  };
  // The way from one mailbox to another on the same file system.
  struct Route {
    FolderRef from;
    FolderRef to;
    MailboxKey destination;  // spelled as the store does
    const Expected* expected = nullptr;
    // What the journal on the disk knows of: messages expected by their places, others by their ids.
    std::vector<bool> plannedExpected;
    std::unordered_set<std::string, TextHash, std::equal_to<>> planned;
    std::vector<Translation> translations;
    bool isApart = false;  // different file systems
  };
  // One attempt to bring a message to another folder.
  struct Step {
    JournalRecord record;
    std::size_t number = 0;
  };

  Result<JournalWriter*> writer();
  // As it was found when this transaction first asked; a folder that is gone since shows when it is used.
  Result<FolderRef> mailbox(const MailboxKey& key);
  Result<Route*> route(const MailboxKey& from, const MailboxKey& to);
  // Runs `use` on the message's file, which is there at this moment.
  template <class Use>
  auto withFile(const MessageKey& key, Use&& use) -> decltype(use(std::declval<const LocatedMessage&>()));
  Result<Marks> marksOf(const LocatedMessage& message);
  // What the letters of a message's name mean. Letters are added to a folder and never change their meaning,
  // so what was read once serves every name that has no others.
  Result<const KeywordTable*> keywordsOf(const Path& folder, const MessageName& name);
  // The folder's letters for all of these keywords.
  Result<const KeywordTable*> keywordsFor(const Path& folder, const std::vector<std::string>& names);
  Result<void> note(const JournalRecord& record);
  Result<Step> writeStep(JournalRecord record);
  void giveUp(const Step& step);
  // Makes the journal on the disk know that the message will go this way, together with all others expected.
  Result<void> plan(const MailboxKey& from, Route& route, std::string_view id, const MessageFile& file);
  Result<const Translation*> translate(const MailboxKey& from, Route& route, std::string_view fileName,
                                       const MarkChange& change);
  // One rename, noted in the journal afterwards; nothing when a rename under the same name will not do: the
  // name is taken, the file system is another one, or it is a link that would point elsewhere.
  Result<std::optional<MessageKey>> moveAsPlanned(const MessageKey& key, Route& route,
                                                  const MarkChange& change);
  Result<MessageKey> relocate(const MessageKey& key, const Folder& to, const MailboxKey& destination,
                              const MarkChange& change, Mode mode);
  Result<MessageFile> place(const LocatedMessage& source, Step& step, Mode mode);
  Result<MessageFile> placeByCopy(const LocatedMessage& source, Step& step, Mode mode);
  Result<void> writeDraft(const MessageKey& source, const Path& draft, const FileInfo& info);
  Result<void> removeSource(const Step& step);
  void touch(const Path& folder, Subfolder subfolder);
  Result<void> syncTouched();
  Result<void> applyMarks(const MessageKey& key, const MarkChange& change);
  MarkChange takePending(const MessageKey& key);
  std::string freshName(const FileInfo& info, const std::string& model);
  Error explain(Error error, std::string_view action, const MessageKey& key) const;

  const Environment& environment_;
  MailStore& store_;
  std::unique_ptr<JournalWriter> writer_;
  std::vector<JournalRecord> waiting_;  // marks before the entry was begun
  std::optional<Pending> pending_;
  std::optional<Asked> asked_;
  std::map<MailboxKey, FolderRef> mailboxes_;
  std::map<std::string, KeywordTable, std::less<>> keywords_;  // by folder, as they were known last
  std::map<MailboxKey, Expected> expected_;
  std::map<std::pair<MailboxKey, MailboxKey>, Route> routes_;
  std::map<std::pair<MailboxKey, MailboxKey>, Route>::iterator lastRoute_ = routes_.end();
  bool plans_ = true;  // an undo's moves are known from the filing's lines
  std::vector<std::pair<std::string, Subfolder>> touched_;  // what to sync
  std::set<std::pair<std::string, std::string>> apart_;     // pairs of folders on different file systems
  Moves moves_;
  std::size_t filed_ = 0;
  std::string pathFrom_;  // of the rename at hand
  std::string pathTo_;
  std::optional<MessageKey> lastCopied_;  // the original of the copy that was made last
  bool worthKeeping_ = false;             // the entry holds more than marks
  bool unsettled_ = false;  // a step could be neither completed nor taken back: recovery has to look again
};

template <class Use>
auto Transaction::withFile(const MessageKey& key, Use&& use)
    -> decltype(use(std::declval<const LocatedMessage&>())) {
  const auto folder = mailbox(key.mailbox);
  if (!folder) return std::unexpected(folder.error());
  const auto look = [&](const LocatedMessage& message) -> decltype(use(message)) {
    // The name may be remembered only: it counts when the file has it.
    const auto there = environment_.files.infoAt(message.nativePath(pathFrom_), FollowLinks::no);
    if (!there) return std::unexpected(there.error());
    return use(message);
  };
  return store_.withMessage(key, look, *folder);
}

}  // namespace quillbox::mailclient
