// Four-character codes: the names of classes, properties, constants and events inside the interpreter.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillbox::applescript {

using Code = std::uint32_t;

// code("pnam") == 0x706E616D. A text of any other length than four gives 0, which names nothing.
constexpr Code code(std::string_view text) {
  if (text.size() != 4) return 0;
  Code value = 0;
  for (const char c : text) value = value << 8U | static_cast<unsigned char>(c);
  return value;
}

inline std::string codeText(Code value) {
  std::string text;
  for (unsigned shift = 32; shift > 0; shift -= 8) text += static_cast<char>(value >> (shift - 8) & 0xFFU);
  return text;
}

}  // namespace quillbox::applescript
