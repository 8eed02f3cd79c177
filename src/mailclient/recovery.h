// What the journal is for: closing the filings of runs that died, and taking the last filing back.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "mailclient/journal.h"
#include "mailclient/mail_store.h"
#include "mailclient/transaction.h"

namespace quillbox::mailclient {

struct UndoReport {
  std::size_t count = 0;          // messages taken back
  std::vector<std::string> kept;  // a sentence for each that could not be
  Transaction::Moves moves;
};

// Used under the lock of MailClient.
class Recovery {
 public:
  Recovery(const Environment& environment, MailStore& store) : environment_(environment), store_(store) {}

  // Closes every entry that nobody writes any more: each of its steps is completed where it was half done,
  // and struck out where it was not; an interrupted undo goes on. Removes the drafts and locks that were
  // left. Gives where messages went. Entries of living processes stay alone. An entry that cannot be dealt
  // with now (its disk is away) is logged and stays for the next time.
  Result<Transaction::Moves> run();

  // Takes back the last filing, which is closed first when its process died: moves its messages to where they
  // were, with the marks that they had, and removes the copies that it made. Marks and moves that others made
  // since are kept. Fails with error_number::nothingMatches when there is no filing left, and with
  // damagedFile when the last one cannot be read; the next call then takes back the one before it.
  Result<UndoReport> undoLast();

 private:
  // An entry that could not be closed.
  struct Stuck {
    Path file;
    Error error;
  };
  Result<Transaction::Moves> run(std::optional<Stuck>& last);
  Result<void> close(const Path& file, Transaction::Moves& moves);
  // Whether the step of a record happened; completes it where it was half done.
  Result<bool> settle(const JournalRecord& record, Transaction& steps);
  Result<bool> settleMove(const JournalRecord& record);
  Result<bool> settleCopy(const JournalRecord& record, Transaction& steps);
  Result<bool> settleMailbox(const JournalRecord& record, const std::string& token);
  // Where a file system cannot refuse to replace, a rename first takes its name with an empty file; a crash
  // may have left that beside the message.
  Result<void> removeReserved(const JournalRecord& record, const MessageFile& from, const MessageFile& to);
  // Finds the moves of which a power cut has kept the renames but not the journal's lines.
  Result<void> addUnwrittenMoves(JournalEntry& entry, JournalWriter& writer);
  void removeLeftovers(const JournalRecord& record, const std::string& token);

  Result<UndoReport> takeBack(const JournalEntry& entry, std::unique_ptr<JournalWriter> writer);
  Result<void> takeBack(const JournalRecord& record, Transaction& steps);
  Result<void> removeCopy(const JournalRecord& record);
  // The subject of the message; its id when it is in neither place or has none.
  std::string describe(const JournalRecord& record);

  // The message's file in the folder as it is now; nothing when it is not there, or the folder is not.
  Result<std::optional<MessageFile>> find(const JournalPlace& place);

  const Environment& environment_;
  MailStore& store_;
};

}  // namespace quillbox::mailclient
