// The host's clocks and its generator of random bytes.
#pragma once

#include "platform/clock.h"

namespace quillbox {

class SystemClock final : public Clock {
 public:
  std::chrono::nanoseconds now() const override;
  std::chrono::nanoseconds steady() const override;
  std::chrono::seconds localOffset(std::chrono::nanoseconds at) const override;
  void pause(std::chrono::nanoseconds duration) const override;
};

class SystemRandomSource final : public RandomSource {
 public:
  // Ends the process when the kernel has no random bytes: nothing after that could be trusted.
  std::array<std::uint8_t, 16> bytes16() override;
};

}  // namespace quillbox
