// The log of the command-line program: what goes wrong on the way to a command's one error line is not told
// twice.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/log.h"

namespace quillbox {

// Holds lines of level error until somebody says whether they are news. Any thread.
class CommandLog final : public Log {
 public:
  explicit CommandLog(Log& out) : out_(out) {}

  void write(LogLevel level, std::string_view line) override {
    if (level != LogLevel::error) return out_.write(level, line);
    const std::lock_guard lock(mutex_);
    held_.emplace_back(line);
  }

  // The command went well, or has not begun: what was held is all that is told of it.
  void tell() {
    for (const auto& line : take()) out_.write(LogLevel::error, line);
  }
  // The command failed and says so itself.
  void drop() { (void)take(); }

 private:
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(held_, {});
  }

  Log& out_;
  std::mutex mutex_;
  std::vector<std::string> held_;
};

}  // namespace quillbox
