// Hashes of several values, fed in order.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace quillbox {

// For containers of texts that are asked with a std::string_view; with std::equal_to<>.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
};

template <class... Values>
std::size_t hashAll(const Values&... values) noexcept {
  std::size_t seed = 0;
  // The mixing step of Boost's hash_combine, 64 bits wide.
  ((seed ^= std::hash<Values>{}(values) + 0x9E3779B97F4A7C15ULL + (seed << 6U) + (seed >> 2U)), ...);
  return seed;
}

}  // namespace quillbox
