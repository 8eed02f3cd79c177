#include "applescript/text_index.h"

#include <algorithm>
#include <memory>

#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include "base/text.h"

namespace quillbox::applescript {

namespace {

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The boundaries that ICU finds, as byte offsets with both ends. `take` gets begin, end and the rule's
// status.
template <class Take>
void eachPiece(icu::BreakIterator& breaks, const std::string& text, Take take) {
  UErrorCode status = U_ZERO_ERROR;
  UText source = UTEXT_INITIALIZER;
  utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
  if (U_SUCCESS(status)) {
    breaks.setText(&source, status);
    std::int32_t begin = breaks.first();
    for (std::int32_t end = breaks.next(); end != icu::BreakIterator::DONE; begin = end, end = breaks.next())
      take(static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end), breaks.getRuleStatus());
  }
  utext_close(&source);
}

}  // namespace

TextIndex::TextIndex(const std::string& text) : text_(text), ascii_(isAscii(text)) {}

void TextIndex::findCharacters() const {
  if (ascii_ || !characterStarts_.empty()) return;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_SUCCESS(status)) {
    eachPiece(*breaks, text_, [&](std::uint32_t begin, std::uint32_t end, std::int32_t) {
      characterStarts_.push_back(begin);
      // A carriage return and a line feed are two characters to a script.
      if (end - begin == 2 && text_[begin] == '\r') characterStarts_.push_back(begin + 1);
    });
  }
  characterStarts_.push_back(static_cast<std::uint32_t>(text_.size()));
}

std::size_t TextIndex::characterCount() const {
  if (ascii_) return text_.size();
  findCharacters();
  return characterStarts_.size() - 1;
}

Span TextIndex::character(std::size_t index) const {
  const auto at = static_cast<std::uint32_t>(index);
  if (ascii_) return {at, at + 1};
  findCharacters();
  return {characterStarts_[index], characterStarts_[index + 1]};
}

std::size_t TextIndex::characterAt(std::size_t byte) const {
  if (ascii_) return byte;
  findCharacters();
  const auto after = std::ranges::upper_bound(characterStarts_, static_cast<std::uint32_t>(byte));
  return static_cast<std::size_t>(after - characterStarts_.begin()) - 1;
}

const std::vector<Span>& TextIndex::words() const {
  if (words_) return *words_;
  words_.emplace();
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
  if (U_SUCCESS(status)) {
    eachPiece(*breaks, text_, [&](std::uint32_t begin, std::uint32_t end, std::int32_t rule) {
      if (rule >= UBRK_WORD_NONE_LIMIT) words_->push_back({begin, end});
    });
  }
  return *words_;
}

const std::vector<Span>& TextIndex::paragraphs() const {
  if (paragraphs_) return *paragraphs_;
  paragraphs_.emplace();
  std::uint32_t begin = 0;
  const auto size = static_cast<std::uint32_t>(text_.size());
  for (std::uint32_t i = 0; i < size; ++i) {
    const char c = text_[i];
    if (c != '\n' && c != '\r' && c != '\xE2') continue;
    std::uint32_t width = 0;
    if (c == '\n') width = 1;
    if (c == '\r') width = i + 1 < size && text_[i + 1] == '\n' ? 2 : 1;
    if (c == '\xE2' && (text_.compare(i, 3, "\u2028") == 0 || text_.compare(i, 3, "\u2029") == 0)) width = 3;
    if (width == 0) continue;
    paragraphs_->push_back({begin, i});
    begin = i + width;
    i = begin - 1;
  }
  if (size > 0) paragraphs_->push_back({begin, size});
  return *paragraphs_;
}

}  // namespace quillbox::applescript
