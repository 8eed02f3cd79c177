// Enumerations that are stored and shown by a raw text: the texts stand beside the enumeration, once.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quillbox {

// Specialised for an enumeration whose enumerators count 0, 1, 2 ... in the order of its texts:
//
//   enum class EnterModeAppEnum { file, focus };
//   template <>
//   struct RawTexts<EnterModeAppEnum> {
//     static constexpr std::array<std::string_view, 2> values{"file", "focus"};
//   };
template <class E>
struct RawTexts;

template <class E>
concept TextEnum = requires { RawTexts<E>::values.size(); };

template <TextEnum E>
constexpr std::string_view rawText(E value) {
  return RawTexts<E>::values.at(static_cast<std::size_t>(value));
}

// Exact comparison; nothing for a text that is none of the raw values.
template <TextEnum E>
constexpr std::optional<E> fromRawText(std::string_view text) {
  for (std::size_t i = 0; i < RawTexts<E>::values.size(); ++i) {
    if (RawTexts<E>::values[i] == text) return static_cast<E>(i);
  }
  return std::nullopt;
}

}  // namespace quillbox
