#include "mailclient/name_codes.h"

#include <array>
#include <cstdint>

#include "base/text.h"

namespace quillbox::mailclient {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";
constexpr std::string_view kMark = "\xEF\xBF\xBD";  // U+FFFD

bool standsForItself(char c) {
  return c >= 0x20 && c <= 0x7e;
}

void appendShifted(std::string& out, std::u16string_view units) {
  out += '&';
  std::uint32_t bits = 0;
  int count = 0;
  for (const char16_t unit : units) {
    bits = (bits << 16) | unit;
    count += 16;
    while (count >= 6) {
      count -= 6;
      out += kAlphabet[(bits >> count) & 63];
    }
    bits &= (1U << count) - 1;
  }
  if (count > 0) out += kAlphabet[(bits << (6 - count)) & 63];
  out += '-';
}

// The decoded text without the check that it is the canonical spelling.
std::optional<std::string> decodeLoosely(std::string_view name) {
  std::u16string units;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!standsForItself(name[i])) return std::nullopt;
    if (name[i] != '&') {
      units += static_cast<char16_t>(name[i]);
      continue;
    }
    const auto end = name.find('-', i);
    if (end == std::string_view::npos) return std::nullopt;
    if (end == i + 1) units += u'&';
    std::uint32_t bits = 0;
    int count = 0;
    for (std::size_t k = i + 1; k < end; ++k) {
      const auto digit = kAlphabet.find(name[k]);
      if (digit == std::string_view::npos) return std::nullopt;
      bits = (bits << 6) | static_cast<std::uint32_t>(digit);
      count += 6;
      if (count >= 16) {
        count -= 16;
        units += static_cast<char16_t>((bits >> count) & 0xffff);
        bits &= (1U << count) - 1;
      }
    }
    i = end;
  }
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool high = units[i] >= 0xd800 && units[i] < 0xdc00;
    const bool low = units[i] >= 0xdc00 && units[i] < 0xe000;
    if (low) return std::nullopt;
    if (high) {
      if (i + 1 == units.size() || units[i + 1] < 0xdc00 || units[i + 1] >= 0xe000) return std::nullopt;
      ++i;
    }
  }
  return text::toUtf8(units);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The length of the well-formed UTF-8 sequence at `i`, or 0.
std::size_t sequenceLength(std::string_view bytes, std::size_t i) {
  for (std::size_t length = 1; length <= 4 && i + length <= bytes.size(); ++length) {
    if (text::isValidUtf8(bytes.substr(i, length))) return length;
  }
  return 0;
}

}  // namespace

std::string encodeModifiedUtf7(std::string_view utf8) {
  std::string out;
  std::u16string shifted;
  const auto flush = [&] {
    if (!shifted.empty()) appendShifted(out, shifted);
    shifted.clear();
  };
  for (const char16_t unit : text::toUtf16(utf8)) {
    if (unit < 0x20 || unit > 0x7e) {
      shifted += unit;
      continue;
    }
    flush();
    out += static_cast<char>(unit);
    if (unit == u'&') out += '-';
  }
  flush();
  return out;
}

std::optional<std::string> decodeModifiedUtf7(std::string_view name) {
  auto decoded = decodeLoosely(name);
  if (!decoded || encodeModifiedUtf7(*decoded) != name) return std::nullopt;
  return decoded;
}

void appendReadableByte(std::string& out, unsigned char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  out += kMark;
  out += digits[byte >> 4];
  out += digits[byte & 15];
}

bool holdsReadableByte(std::string_view text) {
  return text.find(kMark) != std::string_view::npos;
}

std::string readableBytes(std::string_view bytes) {
  if (text::isValidUtf8(bytes) && !holdsReadableByte(bytes)) return std::string(bytes);
  std::string out;
  for (std::size_t i = 0; i < bytes.size();) {
    const auto length = sequenceLength(bytes, i);
    const auto piece = bytes.substr(i, length == 0 ? 1 : length);
    if (length == 0 || piece == kMark) {
      for (const char c : piece) appendReadableByte(out, static_cast<unsigned char>(c));
    } else {
      out += piece;
    }
    i += piece.size();
  }
  return out;
}

std::string bytesOfReadable(std::string_view readable) {
  std::string out;
  for (std::size_t i = 0; i < readable.size();) {
    if (readable.substr(i).starts_with(kMark) && i + kMark.size() + 1 < readable.size()) {
      const int high = hexDigit(readable[i + kMark.size()]);
      const int low = hexDigit(readable[i + kMark.size() + 1]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += kMark.size() + 2;
        continue;
      }
    }
    out += readable[i++];
  }
  return out;
}

}  // namespace quillbox::mailclient
