// How much of the calling thread's stack is in use, so that recursion ends in an error and not in a crash.
#pragma once

#include <cstddef>

namespace quillbox::applescript {

inline const char* stackPosition() {
  return static_cast<const char*>(__builtin_frame_address(0));
}

inline std::size_t stackUsedSince(const char* start) {
  const auto* now = stackPosition();
  return static_cast<std::size_t>(now < start ? start - now : now - start);
}

}  // namespace quillbox::applescript
