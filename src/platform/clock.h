// Time and chance, so that tests can hold both still.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>

namespace quillbox {

class Clock {
 public:
  virtual ~Clock() = default;
  // Wall-clock time since 1970-01-01 UTC; may jump.
  virtual std::chrono::nanoseconds now() const = 0;
  // Never goes back; only differences mean anything.
  virtual std::chrono::nanoseconds steady() const = 0;
  // Seconds east of UTC that local time had at the moment `at` (since 1970 UTC).
  virtual std::chrono::seconds localOffset(std::chrono::nanoseconds at) const = 0;
  // Holds the calling thread for `duration`: only between attempts at a lock that other programs hold as a
  // file. A clock that stands still returns at once.
  virtual void pause(std::chrono::nanoseconds duration) const { (void)duration; }
};

// Any thread. The real one reads the system's generator.
class RandomSource {
 public:
  virtual ~RandomSource() = default;
  virtual std::array<std::uint8_t, 16> bytes16() = 0;
};

}  // namespace quillbox
