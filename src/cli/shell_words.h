// Splits a line into words as a POSIX shell would, without expanding anything.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox::cli {

// Blanks separate words. '…' keeps everything; in "…" a backslash quotes \ " $ and `; elsewhere it quotes the
// next character. `a'b c'"d"` is the one word ab cd. Fails with error_number::wrongUsage on an open quote or
// a backslash at the end.
Result<std::vector<std::string>> splitShellWords(std::string_view line);

}  // namespace quillbox::cli
