#include "suggestions/white_space.h"

#include "base/text.h"

namespace quillbox {
namespace {

// General category Zs, which has not changed since Unicode 6.3.
bool isSpaceSeparator(char32_t c) {
  return c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F ||
         c == 0x205F || c == 0x3000;
}

}  // namespace

bool isLineEnd(char32_t c) {
  return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

std::string_view trimWhiteSpace(std::string_view utf8) {
  std::size_t first = utf8.size();
  std::size_t last = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t start = at;
    const char32_t c = text::nextCodePoint(utf8, at);
    if (isSpaceSeparator(c) || c == '\t' || isLineEnd(c)) continue;
    if (first == utf8.size()) first = start;
    last = at;
  }
  return first == utf8.size() ? std::string_view() : utf8.substr(first, last - first);
}

}  // namespace quillbox
