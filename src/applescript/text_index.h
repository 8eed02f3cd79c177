// Where the characters, words and paragraphs of a text begin and end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillbox::applescript {

struct Span {
  std::uint32_t begin = 0;  // bytes
  std::uint32_t end = 0;
};

// Of one text that must outlive it and stay as it is. Each kind of element is found when first asked for, so
// that `paragraph i of t` in a loop over i reads the text once.
struct TextIndex {
 public:
  explicit TextIndex(const std::string& text);

  // Characters as people count them: a letter with its combining marks, an emoji with its modifiers.
  std::size_t characterCount() const;
  Span character(std::size_t index) const;
  // The number of characters before a byte.
  std::size_t characterAt(std::size_t byte) const;
  const std::vector<Span>& words() const;
  // Between \n, \r, \r\n, U+2028 and U+2029; an empty text has none.
  const std::vector<Span>& paragraphs() const;

 private:
  void findCharacters() const;

  const std::string& text_;
  bool ascii_;
  mutable std::vector<std::uint32_t> characterStarts_;  // with the end; only when not ascii_
  mutable std::optional<std::vector<Span>> words_;
  mutable std::optional<std::vector<Span>> paragraphs_;
};

}  // namespace quillbox::applescript
