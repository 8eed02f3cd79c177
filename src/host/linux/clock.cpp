#include "host/linux/clock.h"

#include <cerrno>
#include <string>
#include <thread>

#include <sys/random.h>
#include <time.h>

#include "base/result.h"
#include "host/linux/file_descriptor.h"

namespace quillbox {

std::chrono::nanoseconds SystemClock::now() const {
  return std::chrono::system_clock::now().time_since_epoch();
}

std::chrono::nanoseconds SystemClock::steady() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

std::chrono::seconds SystemClock::localOffset(std::chrono::nanoseconds at) const {
  const auto seconds = static_cast<time_t>(std::chrono::floor<std::chrono::seconds>(at).count());
  tm local{};
  if (::localtime_r(&seconds, &local) == nullptr) return std::chrono::seconds(0);
  return std::chrono::seconds(local.tm_gmtoff);
}

void SystemClock::pause(std::chrono::nanoseconds duration) const {
  std::this_thread::sleep_for(duration);
}

std::array<std::uint8_t, 16> SystemRandomSource::bytes16() {
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t filled = 0; filled < bytes.size();) {
    const ssize_t count =
        retrying([&] { return ::getrandom(bytes.data() + filled, bytes.size() - filled, 0); });
    if (count < 0) fatal("the system has no random bytes (errno " + std::to_string(errno) + ")");
    filled += static_cast<std::size_t>(count);
  }
  return bytes;
}

}  // namespace quillbox
