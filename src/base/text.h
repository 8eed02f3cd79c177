// Text as the product promises it: UTF-8 in memory, ICU for everything that depends on what a character is.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox::text {

bool isValidUtf8(std::string_view bytes);
// Each maximal invalid sequence becomes U+FFFD; valid text comes back unchanged.
std::string toValidUtf8(std::string_view bytes);
std::u16string toUtf16(std::string_view utf8);
std::string toUtf8(std::u16string_view utf16);
void appendUtf8(std::string& out, char32_t codePoint);

// Decodes the code point at `offset` and moves `offset` behind it; an invalid byte reads as U+FFFD, one byte
// long.
char32_t nextCodePoint(std::string_view utf8, std::size_t& offset);

// NFD, nonspacing marks (category Mn) removed, NFC. Case is kept: "Résumé" gives "Resume".
std::string foldDiacritics(std::string_view utf8);
// Unicode default full case folding: "Straße" gives "strasse".
std::string foldCase(std::string_view utf8);
std::string lowercase(std::string_view utf8);
std::string uppercase(std::string_view utf8);
std::string normalizeNfc(std::string_view utf8);

// Characters as a person counts them (extended grapheme clusters): 1 for "é" however it is composed.
std::size_t countCharacters(std::string_view utf8);

// General category L*, M* or N*.
bool isLetterMarkOrNumber(char32_t codePoint);

// Bytes whose unsigned order is the order of the root collation with numeric ordering ("a2" before "a10").
std::string collationKey(std::string_view utf8);

// Pieces between separators, empty ones dropped: splitNonEmpty("/a//b", '/') gives {"a", "b"}.
std::vector<std::string> splitNonEmpty(std::string_view text, char separator);
std::string replaceAll(std::string text, std::string_view from, std::string_view to);
// Without ASCII white space (space, tab, line breaks) at both ends.
std::string_view trim(std::string_view text);

// For messages on one line: control characters as \n, \t, \xNN; everything else as it is.
std::string singleLine(std::string_view text);

// An ICU regular expression. Copies share the compiled pattern; matching is const and may run on several
// threads.
class Regex {
 public:
  struct Match {
    // groups[0] is the whole match; a group that took no part is empty.
    std::vector<std::string> groups;
  };

  // Fails with error -4006 naming the pattern and ICU's reason.
  static Result<Regex> compile(std::string_view pattern);

  // Whether the whole of `subject` matches. A match that ICU gives up on (stack or time limit) counts as
  // none.
  bool matchesWhole(std::string_view subject) const;
  std::optional<Match> findFirst(std::string_view subject) const;
  std::vector<Match> findAll(std::string_view subject) const;

 private:
  struct Pattern;
  explicit Regex(std::shared_ptr<const Pattern> pattern);
  std::shared_ptr<const Pattern> pattern_;
};

}  // namespace quillbox::text
