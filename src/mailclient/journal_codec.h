// Journal entries as text, one JSON object a line; docs/MAILSTORE.md describes them.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "base/result.h"
#include "mailclient/journal.h"

namespace quillbox::mailclient {

std::string encodeHead(std::string_view token, std::chrono::nanoseconds started);
std::string encodeRecord(const JournalRecord& record);
// A line for many moves in three pieces: head, the moves with commas between them, end.
std::string encodeMovesHead(const MoveGroup& group);
void encodeMove(const MessageFile& from, const std::string& toName, std::string& out);
std::string_view encodeMovesEnd();
std::string encodeVoid(std::size_t number);
std::string encodeUndo();

// An entry whose last line is torn reads without that line, and an empty one as an entry without a token and
// records. Fails with error_number::damagedFile on anything else that is not an entry of this version; `what`
// names the file.
Result<JournalEntry> decodeEntry(std::string_view text, std::string_view what);

}  // namespace quillbox::mailclient
