// The errors of system calls, as one sentence each.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/file_system.h"

namespace quillbox {

// In English whatever the locale: "No space left on device".
std::string systemReason(int number);

// A path for people: one line, valid UTF-8.
std::string shownPath(const Path& path);

// systemFailure("rename", a, b, ENOSPC): "Can’t rename A to B: No space left on device", with that number.
std::unexpected<Error> systemFailure(std::string_view operation, const Path& path, int number);
std::unexpected<Error> systemFailure(std::string_view operation, const Path& from, const Path& to,
                                     int number);

}  // namespace quillbox
