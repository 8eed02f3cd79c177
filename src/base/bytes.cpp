#include "base/bytes.h"

#include <array>
#include <cstdint>

#include "base/error_numbers.h"

namespace quillbox {
namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeDecodeTable() {
  std::array<std::int8_t, 256> table{};
  for (auto& entry : table) entry = -1;
  for (std::size_t i = 0; i < kBase64.size(); ++i) {
    table[static_cast<unsigned char>(kBase64[i])] = static_cast<std::int8_t>(i);
  }
  return table;
}

}  // namespace

std::string toHex(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4U];
    text += digits[byte & 0xFU];
  }
  return text;
}

std::string toBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8U | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? kBase64[group >> (18U - 6U * k) & 63U] : '=';
    }
  }
  return text;
}

Result<std::string> fromBase64(std::string_view text) {
  static constexpr auto table = makeDecodeTable();
  const auto bad = [] { return fail(error_number::damagedFile, "The text is not valid base64."); };
  if (text.size() % 4 != 0) return bad();
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    std::uint32_t group = 0;
    std::size_t padding = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const char c = text[i + k];
      if (c == '=') {
        if (i + 4 != text.size() || k < 2) return bad();
        ++padding;
        group <<= 6U;
        continue;
      }
      const int value = table[static_cast<unsigned char>(c)];
      if (value < 0 || padding > 0) return bad();
      group = group << 6U | static_cast<std::uint32_t>(value);
    }
    if ((padding == 1 && (group & 0xFFU) != 0) || (padding == 2 && (group & 0xFFFFU) != 0)) return bad();
    bytes += static_cast<char>(group >> 16U & 0xFFU);
    if (padding < 2) bytes += static_cast<char>(group >> 8U & 0xFFU);
    if (padding < 1) bytes += static_cast<char>(group & 0xFFU);
  }
  return bytes;
}

}  // namespace quillbox
