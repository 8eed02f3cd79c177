#include "base/text.h"

#include <algorithm>

#include <fmt/format.h>
#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace quillbox::text {
namespace {

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

icu::UnicodeString fromUtf8(std::string_view utf8) {
  return icu::UnicodeString::fromUTF8({utf8.data(), static_cast<std::int32_t>(utf8.size())});
}

std::string fromUnicode(const icu::UnicodeString& text) {
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

const icu::Normalizer2& normalizer(bool composing) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* instance =
      composing ? icu::Normalizer2::getNFCInstance(status) : icu::Normalizer2::getNFDInstance(status);
  if (U_FAILURE(status)) fatal("ICU has no normalisation data");
  return *instance;
}

const icu::Collator& rootCollator() {
  static const std::unique_ptr<const icu::Collator> collator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (U_SUCCESS(status)) made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    if (U_FAILURE(status)) fatal("ICU has no root collation");
    return made;
  }();
  return *collator;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  std::size_t offset = 0;
  while (offset < bytes.size()) {
    const std::size_t start = offset;
    const char32_t c = nextCodePoint(bytes, offset);
    if (c == 0xFFFD && bytes.substr(start, offset - start) != "\xEF\xBF\xBD") return false;
  }
  return true;
}

std::string toValidUtf8(std::string_view bytes) {
  if (isValidUtf8(bytes)) return std::string(bytes);
  return fromUnicode(fromUtf8(bytes));
}

std::u16string toUtf16(std::string_view utf8) {
  const icu::UnicodeString text = fromUtf8(utf8);
  return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

std::string toUtf8(std::u16string_view utf16) {
  return fromUnicode(icu::UnicodeString(false, utf16.data(), static_cast<std::int32_t>(utf16.size())));
}

void appendUtf8(std::string& out, char32_t codePoint) {
  char buffer[U8_MAX_LENGTH];
  std::int32_t length = 0;
  UBool bad = false;
  U8_APPEND(buffer, length, U8_MAX_LENGTH, static_cast<UChar32>(codePoint), bad);
  if (bad) {
    out += "\xEF\xBF\xBD";
  } else {
    out.append(buffer, static_cast<std::size_t>(length));
  }
}

char32_t nextCodePoint(std::string_view utf8, std::size_t& offset) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
  auto i = static_cast<std::int64_t>(offset);
  const auto length = static_cast<std::int64_t>(utf8.size());
  UChar32 c = 0;
  U8_NEXT(bytes, i, length, c);  // NOLINT(bugprone-inc-dec-in-conditions): ICU's macro
  if (c < 0) {
    ++offset;
    return 0xFFFD;
  }
  offset = static_cast<std::size_t>(i);
  return static_cast<char32_t>(c);
}

std::string foldDiacritics(std::string_view utf8) {
  if (isAscii(utf8)) return std::string(utf8);
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString decomposed = normalizer(false).normalize(fromUtf8(utf8), status);
  icu::UnicodeString kept;
  for (std::int32_t i = 0; i < decomposed.length();) {
    const UChar32 c = decomposed.char32At(i);
    if (u_charType(c) != U_NON_SPACING_MARK) kept.append(c);
    i += U16_LENGTH(c);
  }
  const icu::UnicodeString composed = normalizer(true).normalize(kept, status);
  if (U_FAILURE(status)) return std::string(utf8);
  return fromUnicode(composed);
}

std::string foldCase(std::string_view utf8) {
  if (isAscii(utf8)) return lowercase(utf8);
  icu::UnicodeString text = fromUtf8(utf8);
  return fromUnicode(text.foldCase(U_FOLD_CASE_DEFAULT));
}

std::string lowercase(std::string_view utf8) {
  if (isAscii(utf8)) {
    std::string text(utf8);
    for (char& c : text) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
  }
  icu::UnicodeString text = fromUtf8(utf8);
  return fromUnicode(text.toLower(icu::Locale::getRoot()));
}

std::string uppercase(std::string_view utf8) {
  icu::UnicodeString text = fromUtf8(utf8);
  return fromUnicode(text.toUpper(icu::Locale::getRoot()));
}

std::string normalizeNfc(std::string_view utf8) {
  if (isAscii(utf8)) return std::string(utf8);
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString composed = normalizer(true).normalize(fromUtf8(utf8), status);
  if (U_FAILURE(status)) return std::string(utf8);
  return fromUnicode(composed);
}

std::size_t countCharacters(std::string_view utf8) {
  if (utf8.empty()) return 0;
  const icu::UnicodeString text = fromUtf8(utf8);
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status)) fatal("ICU has no rules for characters");
  characters->setText(text);
  std::size_t count = 0;
  while (characters->next() != icu::BreakIterator::DONE) ++count;
  return count;
}

bool isLetterMarkOrNumber(char32_t codePoint) {
  const auto mask = U_GET_GC_MASK(static_cast<UChar32>(codePoint));
  return (mask & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

std::string collationKey(std::string_view utf8) {
  const icu::UnicodeString text = fromUtf8(utf8);
  const icu::Collator& collator = rootCollator();
  std::string key(std::max<std::size_t>(32, utf8.size() * 3), '\0');
  const auto fill = [&] {
    return static_cast<std::size_t>(collator.getSortKey(text, reinterpret_cast<std::uint8_t*>(key.data()),
                                                        static_cast<std::int32_t>(key.size())));
  };
  std::size_t length = fill();
  if (length > key.size()) {
    key.resize(length);
    length = fill();
  }
  // The trailing zero byte is part of ICU's key and says nothing more than the end does.
  key.resize(length > 0 ? length - 1 : 0);
  return key;
}

std::vector<std::string> splitNonEmpty(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find(separator, start), text.size());
    if (end > start) pieces.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return pieces;
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty() || text.find(from) == std::string::npos) return text;
  std::string result;
  std::size_t start = 0;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, start)) {
    result.append(text, start, at - start);
    result.append(to);
    start = at + from.size();
  }
  result.append(text, start);
  return result;
}

std::string_view trim(std::string_view text) {
  constexpr std::string_view space = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(space);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(space) - first + 1);
}

std::string singleLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\t') {
      line += "\\t";
    } else if (c == '\r') {
      line += "\\r";
    } else if (byte < 0x20 || byte == 0x7F) {
      line += fmt::format("\\x{:02X}", byte);
    } else {
      line += c;
    }
  }
  return line;
}

}  // namespace quillbox::text
