// Four-character codes, as Apple events and scripting definitions write them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillbox {

using FourCC = std::uint32_t;

// fourCC("long") == 0x6C6F6E67. A text of any other length than four gives 0.
constexpr FourCC fourCC(std::string_view code) {
  if (code.size() != 4) return 0;
  FourCC value = 0;
  for (const char c : code) value = value << 8U | static_cast<unsigned char>(c);
  return value;
}

inline std::string fourCCText(FourCC code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8)
    text += static_cast<char>(code >> static_cast<unsigned>(shift) & 0xFFU);
  return text;
}

}  // namespace quillbox
