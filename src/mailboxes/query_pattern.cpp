#include "mailboxes/query_pattern.h"

#include "base/text.h"

namespace quillbox {

QueryPattern::QueryPattern(std::string_view query, CaseMode mode)
    : folded_(text::foldDiacritics(text::toValidUtf8(query))), mode_(mode) {}

std::string QueryPattern::pattern() const {
  return (mode_ == CaseMode::insensitive ? "(?i)(.*)" : "(.*)") + escapeQuery(folded_) + "(.*)";
}

std::string escapeQuery(std::string_view folded) {
  // Everything that is treated specially is ASCII, so bytes serve where scalars are meant.
  std::string fragment;
  fragment.reserve(folded.size() + folded.size() / 4);
  for (const char c : folded) {
    switch (c) {
      case ' ':
        fragment += "(.*)";
        break;
      case '(':
      case ')':
      case '*':
      case '+':
      case '.':
      case '?':
      case '[':
      case '\\':
      case ']':
      case '^':
      case '|':
        fragment += '\\';
        fragment += c;
        break;
      case '\t':
        fragment += "\\t";
        break;
      case '\r':
        fragment += "\\r";
        break;
      case '\n':
        fragment += "\\n";
        break;
      default:
        if (static_cast<unsigned char>(c) >= 32) fragment += c;
    }
  }
  return fragment;
}

}  // namespace quillbox
