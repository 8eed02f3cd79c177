// Runs commands that arrive one a line, one after another, in one session.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/command.h"

namespace quillbox::cli {

struct BatchChannels {
  // The next line without its line break; nothing at the end of the input. May block.
  std::function<std::optional<std::string>()> readLine;
  // Prints one line, flushed.
  std::function<void(const std::string&)> printLine;
};

// Main queue. Each line gives one line of output, {"ok":RESULT} or {"error":{"message":…,"number":…}}, and a
// line that fails does not end the batch; blank lines and those that begin with # give none. `done` is called
// once.
void runBatch(Session& session, BatchChannels channels, std::function<void()> done);

// The line of one reply.
std::string batchLine(const Result<std::string>& reply);

}  // namespace quillbox::cli
