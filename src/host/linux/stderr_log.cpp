#include "host/linux/stderr_log.h"

#include <string>

#include <unistd.h>

#include "base/text.h"

namespace quillbox {

std::optional<LogThreshold> logThreshold(std::string_view name) {
  if (name == "debug") return LogThreshold::debug;
  if (name == "info") return LogThreshold::info;
  if (name == "error") return LogThreshold::error;
  if (name == "silent") return LogThreshold::silent;
  return std::nullopt;
}

void StderrLog::write(LogLevel level, std::string_view line) {
  if (static_cast<int>(level) < static_cast<int>(threshold_)) return;
  const std::string whole = "quillbox: " + text::singleLine(line) + "\n";
  // A log that cannot be written has nobody to tell.
  [[maybe_unused]] const auto count = ::write(STDERR_FILENO, whole.data(), whole.size());
}

}  // namespace quillbox
