// Diagnostics: plain sentences with a fixed prefix and the value appended.
#pragma once

#include <string_view>

namespace quillbox {

enum class LogLevel { debug, info, error };

// Any thread; one line a call, whole lines even from several threads.
class Log {
 public:
  virtual ~Log() = default;
  virtual void write(LogLevel level, std::string_view line) = 0;

  void debug(std::string_view line) { write(LogLevel::debug, line); }
  void info(std::string_view line) { write(LogLevel::info, line); }
  void error(std::string_view line) { write(LogLevel::error, line); }
};

}  // namespace quillbox
