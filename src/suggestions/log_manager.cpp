#include "suggestions/log_manager.h"

#include <cstdlib>

#include <fmt/format.h>

#include "base/text.h"

namespace quillbox {

LogManager::LogManager(const Services& services, const Path& dataFolder)
    : services_(services),
      file_(services.files, services.random, setUpLogFile(services.files, dataFolder, fileName)),
      queue_(services.dispatch.serialQueue("com.brix.Quillbox4.filingLog")) {}

void LogManager::append(std::string_view tag, std::string_view message) {
  const auto now = services_.clock.now();
  queue_->async(
      [this, line = fmt::format("{}: [{}] {}\n", logTimestamp(now, services_.clock.localOffset(now)),
                                text::singleLine(tag), text::singleLine(message))] { write(line); });
}

void LogManager::write(const std::string& line) {
  const auto append = [&]() -> Result<void> {
    const auto lock = file_.lock();
    if (!lock) return forward(lock);
    const auto size = file_.size();
    if (!size) return forward(size);
    return *size == 0 ? file_.replace(line) : file_.appendLines(line);
  };
  if (const auto done = append(); !done) {
    services_.log.error("Failed to append to log file: " + done.error().message);
  }
}

Result<std::string> LogManager::text() {
  Result<std::string> result;
  queue_->sync([&] {
    const auto lock = file_.lock();
    result = lock ? file_.read() : forward(lock);
  });
  return result;
}

Result<void> LogManager::clear() {
  Result<void> result;
  queue_->sync([&] {
    const auto lock = file_.lock();
    result = lock ? file_.replace("") : forward(lock);
    if (!result) services_.log.error("Failed to clear log file: " + result.error().message);
  });
  return result;
}

std::string logTimestamp(std::chrono::nanoseconds at, std::chrono::seconds offset) {
  using namespace std::chrono;
  const auto local = floor<seconds>(at) + offset;
  const auto day = floor<days>(local);
  const year_month_day date{sys_days(day)};
  const auto time = (local - day).count();
  const auto zone = offset.count() / 60;
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} {}{:02}{:02}", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time / 3600,
                     time / 60 % 60, time % 60, zone < 0 ? '-' : '+', std::abs(zone) / 60,
                     std::abs(zone) % 60);
}

}  // namespace quillbox
