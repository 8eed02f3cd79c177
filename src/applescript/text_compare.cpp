#include "applescript/text_compare.h"

#include <algorithm>
#include <array>
#include <vector>

#include <unicode/coll.h>
#include <unicode/normalizer2.h>

#include "base/result.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

constexpr char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool isAscii(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return (c & 0x80) != 0; });
}

const icu::Normalizer2& composition() {
  static const auto* const instance = [] {
    UErrorCode status = U_ZERO_ERROR;
    const auto* found = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) fatal("ICU has no normalisation data");
    return found;
  }();
  return *instance;
}

// Whether a text may be cut there: not between a letter and its accent.
bool isBoundary(std::string_view text, std::size_t at) {
  if (at >= text.size() || (text[at] & 0x80) == 0) return true;
  return composition().hasBoundaryBefore(static_cast<UChar32>(text::nextCodePoint(text, at)));
}

// Whether only the byte itself is ever equal to an ASCII byte, whatever the case: folding makes letters of
// other characters (the sign for kelvin a k), and composing these two marks.
constexpr bool standsForItself(char c) {
  return (c & 0x80) == 0 && !(lower(c) >= 'a' && lower(c) <= 'z') && c != ';' && c != '`';
}

// The order of the root collation among ASCII, so that plain texts need no collator.
constexpr auto kAsciiOrder = [] {
  std::array<std::uint8_t, 128> order{};
  constexpr std::string_view marks = "\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$";
  std::uint8_t next = 1;
  for (const char c : marks) order[static_cast<std::size_t>(c)] = next++;
  for (char c = '0'; c <= '9'; ++c) order[static_cast<std::size_t>(c)] = next++;
  for (char c = 'a'; c <= 'z'; ++c) {
    order[static_cast<std::size_t>(c)] = next;
    order[static_cast<std::size_t>(c - ('a' - 'A'))] = next++;
  }
  return order;
}();

bool sameLetters(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, [](char a, char b) { return lower(a) == lower(b); });
}

bool isPunctuation(std::string_view c) {
  static constexpr std::string_view kMarks[] = {".", ",",  "?", ":", ";", "!", "\\",
                                                "'", "\"", "`", "’", "‘", "“", "”"};
  return std::ranges::find(kMarks, c) != std::end(kMarks);
}
bool isHyphen(std::string_view c) {
  return c == "-" || c == "‐" || c == "‑";
}
bool isWhiteSpace(std::string_view c) {
  return c == " " || c == "\t" || c == "\n" || c == "\r" || c == "\v" || c == "\f" || c == "\u00A0" ||
         c == "\u2028" || c == "\u2029" || c == "\u3000";
}

}  // namespace

// A text as a comparison sees it, with the way back to the original.
struct TextComparer::Folded {
  std::string text;
  std::vector<std::size_t> begins;  // for each byte of text, where its character began
  std::vector<std::size_t> ends;    // and ended
};

struct TextComparer::Collators {
  std::unique_ptr<icu::Collator> collator;
  Considering made;
};

TextComparer::TextComparer() = default;
TextComparer::~TextComparer() = default;

TextComparer::Folded TextComparer::fold(std::string_view text) const {
  Folded folded;
  folded.text.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    // A character with everything that composes with it.
    const auto begin = at;
    do {
      text::nextCodePoint(text, at);
    } while (!isBoundary(text, at));
    const auto character = text.substr(begin, at - begin);
    if (!takesPart(character)) continue;
    std::string piece(character);
    if (character.size() > 1) {
      piece = text::normalizeNfc(piece);
      if (!considering.letterCase) piece = text::foldCase(piece);
      if (!considering.diacriticals) piece = text::foldDiacritics(piece);
    } else if (!considering.letterCase) {
      piece[0] = lower(piece[0]);
    }
    folded.text += piece;
    folded.begins.insert(folded.begins.end(), piece.size(), begin);
    folded.ends.insert(folded.ends.end(), piece.size(), at);
  }
  return folded;
}

// Whether the bytes of a needle may be looked for as they are.
bool TextComparer::isDirect(std::string_view text, std::string_view needle) const {
  if (!considering.dropsNothing()) return false;
  return std::ranges::all_of(needle, standsForItself) || (isAscii(needle) && isAscii(text));
}

// Whether a character takes part at all.
bool TextComparer::takesPart(std::string_view character) const {
  if (!considering.punctuation && isPunctuation(character)) return false;
  if (!considering.hyphens && isHyphen(character)) return false;
  return considering.whiteSpace || !isWhiteSpace(character);
}

// Equal keys, equal texts.
std::string TextComparer::key(std::string_view text) const {
  auto result = considering.dropsNothing() ? std::string(text) : fold(text).text;
  // Composed and decomposed spellings are the same text.
  if (!isAscii(result)) result = text::normalizeNfc(result);
  if (!considering.letterCase) result = text::foldCase(result);
  if (!considering.numericStrings) return result;
  std::string numeric;
  for (std::size_t i = 0; i < result.size(); ++i) {
    const bool afterDigit = !numeric.empty() && numeric.back() >= '0' && numeric.back() <= '9';
    const bool beforeDigit = i + 1 < result.size() && result[i + 1] >= '0' && result[i + 1] <= '9';
    if (result[i] == '0' && !afterDigit && beforeDigit) continue;
    numeric += result[i];
  }
  return numeric;
}

bool TextComparer::equal(std::string_view left, std::string_view right) const {
  if (left == right) return true;
  if (considering.dropsNothing() && !considering.numericStrings) {
    const bool ascii = isAscii(left) && isAscii(right);
    if (ascii && considering.letterCase) return false;
    if (ascii) return sameLetters(left, right);
  }
  return key(left) == key(right);
}

int TextComparer::compare(std::string_view left, std::string_view right) const {
  if (equal(left, right)) return 0;
  if (considering.dropsNothing() && !considering.numericStrings && isAscii(left) && isAscii(right)) {
    const auto shorter = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shorter; ++i) {
      const int difference =
          kAsciiOrder[static_cast<std::size_t>(left[i])] - kAsciiOrder[static_cast<std::size_t>(right[i])];
      if (difference != 0) return difference;
    }
    if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
    // Only case tells them apart: small letters come first.
    for (std::size_t i = 0; i < shorter; ++i) {
      if (left[i] != right[i]) return left[i] > right[i] ? -1 : 1;
    }
    return 0;
  }
  if (!collators_ || collators_->made != considering) {
    UErrorCode status = U_ZERO_ERROR;
    auto made = std::make_unique<Collators>();
    made->collator.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) fatal("ICU has no root collation");
    made->collator->setStrength(considering.letterCase     ? icu::Collator::TERTIARY
                                : considering.diacriticals ? icu::Collator::SECONDARY
                                                           : icu::Collator::PRIMARY);
    if (considering.numericStrings) made->collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    made->made = considering;
    collators_ = std::move(made);
  }
  const auto a = considering.dropsNothing() ? std::string(left) : fold(left).text;
  const auto b = considering.dropsNothing() ? std::string(right) : fold(right).text;
  UErrorCode status = U_ZERO_ERROR;
  const auto order = collators_->collator->compareUTF8(
      icu::StringPiece(a.data(), static_cast<std::int32_t>(a.size())),
      icu::StringPiece(b.data(), static_cast<std::int32_t>(b.size())), status);
  return order == UCOL_LESS ? -1 : order == UCOL_GREATER ? 1 : 0;
}

std::optional<std::pair<std::size_t, std::size_t>> TextComparer::find(std::string_view text,
                                                                      std::string_view needle,
                                                                      std::size_t from) const {
  if (needle.empty() || from > text.size()) return std::nullopt;
  if (isDirect(text, needle)) {
    const bool exact = considering.letterCase || std::ranges::all_of(needle, standsForItself);
    const char first = lower(needle[0]);
    for (std::size_t at = from; at + needle.size() <= text.size(); ++at) {
      if (exact) {
        at = text.find(needle, at);
        if (at == std::string_view::npos) return std::nullopt;
      } else if (lower(text[at]) != first || !sameLetters(text.substr(at, needle.size()), needle)) {
        continue;
      }
      if (isBoundary(text, at + needle.size())) return std::pair{at, at + needle.size()};
    }
    return std::nullopt;
  }
  const auto where = fold(text.substr(from));
  const auto what = fold(needle).text;
  if (what.empty()) return std::nullopt;
  const auto at = where.text.find(what);
  if (at == std::string::npos) return std::nullopt;
  return std::pair{from + where.begins[at], from + where.ends[at + what.size() - 1]};
}

std::vector<std::pair<std::size_t, std::size_t>> TextComparer::findAll(
    std::string_view text, std::span<const std::string_view> needles) const {
  std::vector<std::pair<std::size_t, std::size_t>> found;
  const bool direct =
      std::ranges::all_of(needles, [&](const auto& needle) { return isDirect(text, needle); });
  if (direct && needles.size() == 1) {
    for (auto match = find(text, needles.front()); match; match = find(text, needles.front(), match->second))
      found.push_back(*match);
    return found;
  }
  // Folded once, so that many matches do not fold the rest of the text many times.
  Folded folded;
  std::vector<std::string> keys;
  if (!direct) {
    folded = fold(text);
    for (const auto& needle : needles) keys.push_back(fold(needle).text);
  }
  using Match = std::optional<std::pair<std::size_t, std::size_t>>;
  const auto search = [&](std::size_t needle, std::size_t from) -> Match {
    if (direct) return find(text, needles[needle], from);
    if (keys[needle].empty()) return std::nullopt;
    const auto at = folded.text.find(keys[needle], from);
    return at == std::string::npos ? Match() : Match(std::pair{at, at + keys[needle].size()});
  };
  std::vector<Match> next(needles.size());
  for (std::size_t i = 0; i < needles.size(); ++i) next[i] = search(i, 0);
  for (;;) {
    const Match* first = nullptr;
    for (const auto& match : next) {
      if (match && (!first || match->first < (*first)->first ||
                    (match->first == (*first)->first && match->second > (*first)->second)))
        first = &match;
    }
    if (!first) break;
    const auto [begin, end] = **first;
    found.emplace_back(direct ? begin : folded.begins[begin], direct ? end : folded.ends[end - 1]);
    for (std::size_t i = 0; i < needles.size(); ++i) {
      if (next[i] && next[i]->first < end) next[i] = search(i, end);
    }
  }
  return found;
}

// What considers nothing in the part is everywhere.
bool TextComparer::contains(std::string_view text, std::string_view part) const {
  if (isDirect(text, part)) return part.empty() || find(text, part).has_value();
  return fold(text).text.find(fold(part).text) != std::string::npos;
}

bool TextComparer::beginsWith(std::string_view text, std::string_view part) const {
  if (isDirect(text, part)) return equal(text.substr(0, part.size()), part) && isBoundary(text, part.size());
  return fold(text).text.starts_with(fold(part).text);
}

bool TextComparer::endsWith(std::string_view text, std::string_view part) const {
  if (isDirect(text, part))
    return part.size() <= text.size() && equal(text.substr(text.size() - part.size()), part);
  return fold(text).text.ends_with(fold(part).text);
}

}  // namespace quillbox::applescript
