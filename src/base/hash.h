// Hashes of several values, fed in order.
#pragma once

#include <cstddef>
#include <functional>

namespace quillbox {

template <class... Values>
std::size_t hashAll(const Values&... values) noexcept {
  std::size_t seed = 0;
  // The mixing step of Boost's hash_combine, 64 bits wide.
  ((seed ^= std::hash<Values>{}(values) + 0x9E3779B97F4A7C15ULL + (seed << 6U) + (seed >> 2U)), ...);
  return seed;
}

}  // namespace quillbox
