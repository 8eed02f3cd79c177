// What one script, or one command, does to the mail: marks, moves, copies and new mailboxes, as one filing of
// the journal.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

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
  // One attempt to bring a message to another folder.
  struct Step {
    JournalRecord record;
    std::size_t number = 0;
  };

  Result<JournalWriter*> writer();
  // As it was found when this transaction first asked; a folder that is gone since shows when it is used.
  Result<const Folder*> mailbox(const MailboxKey& key);
  Result<Marks> storedMarks(const MessageKey& key);
  // What the letters of a message's name mean. Letters are added to a folder and never change their meaning,
  // so what was read once serves every name that has no others.
  Result<const KeywordTable*> sourceKeywords(const Path& folder, const MessageName& name);
  // The folder's letters for all of these keywords.
  Result<KeywordTable> keywordsFor(const Path& folder, const std::vector<std::string>& names);
  Result<void> note(const JournalRecord& record);
  Result<Step> writeStep(JournalRecord record);
  void giveUp(const Step& step);
  Result<void> announce(const JournalPlace& from, const JournalPlace& to);
  Result<MessageKey> relocate(const MessageKey& key, const Folder& to, const MailboxKey& destination,
                              const MarkChange& change, Mode mode);
  Result<MessageFile> place(const LocatedMessage& source, Step& step, Mode mode);
  Result<MessageFile> placeByCopy(const LocatedMessage& source, Step& step, Mode mode);
  Result<void> writeDraft(const MessageKey& source, const Path& draft, const FileInfo& info);
  Result<void> removeSource(const Step& step);
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
  std::map<MailboxKey, Folder> mailboxes_;
  std::map<std::string, KeywordTable> sourceKeywords_;    // by folder
  std::map<MailboxKey, std::set<std::string>> expected_;  // ids
  // Ids that the journal on the disk knows of, by the folders from and to which they move.
  std::map<std::pair<std::string, std::string>, std::set<std::string>> announced_;
  bool announces_ = true;                                // an undo's moves are known from the filing's lines
  std::set<std::string> touched_;                        // directories to sync
  std::set<std::pair<std::string, std::string>> apart_;  // pairs of folders on different file systems
  Moves moves_;
  std::size_t filed_ = 0;
  std::optional<MessageKey> lastCopied_;  // the original of the copy that was made last
  bool worthKeeping_ = false;             // the entry holds more than marks
  bool unsettled_ = false;  // a step could be neither completed nor taken back: recovery has to look again
};

}  // namespace quillbox::mailclient
