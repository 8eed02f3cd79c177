// The filing log: one line for people per filing, in "quillbox-filing-log.txt".
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/log.h"
#include "suggestions/log_file.h"

namespace quillbox {

// Operations run one at a time, in the order in which they were asked for. Entries that wait when the manager
// is destroyed are written first.
class LogManager {
 public:
  static constexpr std::string_view fileName = "quillbox-filing-log.txt";

  struct Services {
    FileSystem& files;
    Dispatch& dispatch;
    const Clock& clock;
    RandomSource& random;
    Log& log;
  };
  // Makes `dataFolder` where it is missing; broken invariant when that fails.
  LogManager(const Services& services, const Path& dataFolder);

  // Adds "2025-01-31 09:05:00 +0100: [TAG] MESSAGE" with the time of the call. Any thread; returns at once. A
  // failure is told to the diagnostics, and the entry is lost.
  void append(std::string_view tag, std::string_view message);

  // Both wait for entries that are still to be written; not on the main queue.
  Result<std::string> text();
  Result<void> clear();

  const Path& logFileURL() const { return file_.path(); }

 private:
  void write(const std::string& line);

  Services services_;
  LogFile file_;
  std::unique_ptr<SerialQueue> queue_;  // last: it uses the others until it has ended
};

// "yyyy-MM-dd HH:mm:ss Z": 2025-01-31 09:05:00 +0100. `offset` is the seconds east of UTC, `at` counts from
// 1970 UTC.
std::string logTimestamp(std::chrono::nanoseconds at, std::chrono::seconds offset);

}  // namespace quillbox
