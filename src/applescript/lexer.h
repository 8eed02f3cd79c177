// Source text to tokens.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "applescript/errors.h"

namespace quillbox::applescript {

enum class TokenKind : std::uint8_t {
  Word,   // folded: lower case
  Piped,  // |any name|
  Integer,
  Real,
  Ordinal,  // 1st, 2nd ...
  String,
  Raw,     // «class mact»: text is "class mact"
  Symbol,  // operators and punctuation, by their canonical spelling
  NewLine,
  End,
};

struct Token {
  TokenKind kind = TokenKind::End;
  int line = 1;
  int column = 1;           // in characters
  std::uint32_t begin = 0;  // bytes
  std::uint32_t end = 0;
  std::string text;  // a word in lower case, the contents of a string, a symbol
  std::int64_t integer = 0;
  double real = 0;

  bool isWord(std::string_view word) const { return kind == TokenKind::Word && text == word; }
  bool isSymbol(std::string_view symbol) const { return kind == TokenKind::Symbol && text == symbol; }
};

inline constexpr std::size_t kLongestLiteral = std::size_t{4} << 20U;  // bytes

// Comments and continuation signs are gone; line breaks are tokens, several in a row are one. The last token
// is End. On failure `tokens` holds what came before.
Outcome<void> tokenize(std::string_view source, std::vector<Token>& tokens);

}  // namespace quillbox::applescript
