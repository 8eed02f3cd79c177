// The journal of filings: one file for each filing, which says where every message was and went, so that a
// crash can be cleaned up after and the filing can be taken back. docs/MAILSTORE.md describes the format.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "mailclient/mail_store.h"

namespace quillbox::mailclient {

// A message's place while the filing ran. The folder is kept beside the mailbox's name, so that recovery does
// not depend on the list of accounts.
struct JournalPlace {
  MailboxKey mailbox;
  Path folder;
  MessageFile file;

  std::string id() const;
};

struct JournalRecord {
  // plan: `files` are about to be moved from `from.folder` to `to.folder`; it is on the disk before the first
  // of them is renamed, when the lines of the moves themselves are not yet. keywords: the folder `to.folder`
  // is about to give letters to new keywords.
  enum class Kind { plan, move, copy, marks, mailbox, keywords };

  Kind kind = Kind::move;
  JournalPlace from;
  JournalPlace to;
  Marks before;
  Marks after;
  // The name in the destination's tmp/ under which a copy across file systems is written; empty for a plain
  // rename.
  std::string draft;
  std::vector<MessageFile> files;  // of a plan
  // Of a new mailbox: the folders that it needs, and the root of its tree.
  std::vector<Folder> folders;
  Path root;
  Layout layout = Layout::nested;
  // The step failed and changed nothing, or was made good otherwise.
  bool isVoid = false;
};

// What messages of a plan have in common that moved alike: `from` and `to` name the folders, their files are
// each message's own.
struct MoveGroup {
  JournalPlace from;
  JournalPlace to;
  Marks before;
  Marks after;
};

enum class EntryState { open, done, undoing };

// An entry as it stands on disk.
struct JournalEntry {
  Path file;
  EntryState state = EntryState::open;
  std::string token;  // marks the locks and drafts of this filing
  std::vector<JournalRecord> records;
  // The records from here on are the steps of taking the others back.
  std::size_t undoStart = SIZE_MAX;

  std::size_t filingRecords() const { return undoStart < records.size() ? undoStart : records.size(); }
  bool holdsFiling() const;
  // Whether it has to be kept: it holds a filing, or a mailbox that was made.
  bool isWorthKeeping() const;
};

// Every entry of the journal, oldest first; those that do not decode are kept aside under another name and
// logged.
Result<std::vector<Path>> listEntries(const Environment& environment, EntryState state);
Result<JournalEntry> readEntry(const Environment& environment, const Path& file);

// An entry that is being written. It is locked against recovery by other processes for as long as the writer
// lives.
class JournalWriter {
 public:
  ~JournalWriter();  // writes what waits, if that can be done

  // A new, open entry.
  static Result<std::unique_ptr<JournalWriter>> begin(const Environment& environment);
  // The right to go on with an entry that is there; nullptr when its owner is alive. Read the entry then, and
  // adopt it.
  static Result<std::unique_ptr<JournalWriter>> claim(const Environment& environment, const Path& file);
  // Opens the claimed entry for further records.
  Result<void> adopt(const JournalEntry& entry);

  const std::string& token() const { return token_; }

  // Appends a record; its number counts from 0. Written before the step that it describes.
  Result<std::size_t> write(const JournalRecord& record);
  // Says, after its rename, that a message of a plan that is on the disk was moved under the lasting part of
  // its name. This waits in memory: moves of one group become one line, which is written when something else
  // is, with the next sync(), or by writeFull().
  void noteMoved(const std::shared_ptr<const MoveGroup>& group, const MessageFile& from,
                 const std::string& toName);
  // Writes what waits when it is much.
  Result<void> writeFull();
  // Says that the records from here on take those before back.
  Result<void> beginUndo();
  // Says that a record's step did not happen.
  Result<void> voidRecord(std::size_t number);
  // Makes what was written durable, and the entry itself.
  Result<void> sync();
  // Syncs, and gives the entry its next state.
  Result<void> become(EntryState state);
  // The entry is not needed: nothing happened, or it was taken back.
  Result<void> discard();

 private:
  JournalWriter(const Environment& environment, Path file, std::string token)
      : environment_(environment), file_(std::move(file)), token_(std::move(token)) {}
  Result<void> append(const std::string& lines);
  Result<void> put(const std::string& lines);
  // Writes what noteMoved() has left.
  Result<void> writeMoves();
  void endMoves();

  const Environment& environment_;
  Path file_;
  std::string token_;
  std::unique_ptr<FileLock> lock_;
  std::unique_ptr<WritableFile> out_;
  std::size_t next_ = 0;
  std::string moves_;                       // lines that wait; the last is not ended while there is a group
  std::shared_ptr<const MoveGroup> group_;  // of the last line
  std::optional<Error> failure_;            // a write has failed in the middle
  bool isNamed_ = false;                    // the folder's entry is durable
};

}  // namespace quillbox::mailclient
