// Diagnostics on standard error.
#pragma once

#include <optional>
#include <string_view>

#include "platform/log.h"

namespace quillbox {

enum class LogThreshold { debug, info, error, silent };

// "debug", "info", "error", "silent"; nothing for any other text.
std::optional<LogThreshold> logThreshold(std::string_view name);

// "quillbox: " and the line, made one line and written with one system call. Lines below the threshold are
// dropped.
class StderrLog final : public Log {
 public:
  explicit StderrLog(LogThreshold threshold) : threshold_(threshold) {}
  void write(LogLevel level, std::string_view line) override;

 private:
  LogThreshold threshold_;
};

}  // namespace quillbox
