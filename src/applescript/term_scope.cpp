#include "applescript/term_scope.h"

#include <algorithm>
#include <string>

#include "applescript/language_terms.h"

namespace quillbox::applescript {

template <class Visit>
void TermScope::eachLayer(Visit visit) const {
  if (!tells_.empty()) visit(*tells_.back());
  for (const auto* terms : line_) visit(*terms);
  for (const auto* terms : imported_) visit(*terms);
  if (!tells_.empty() || !line_.empty() || !imported_.empty()) visit(standardSuite());
  visit(languageTerms());
}

std::optional<Meaning> TermScope::match(const std::vector<Token>& tokens, std::size_t at,
                                        std::size_t limit) const {
  if (at >= tokens.size() || tokens[at].kind != TokenKind::Word) return std::nullopt;
  std::size_t longest = 0;
  eachLayer(
      [&](const Terminology& terms) { longest = std::max(longest, terms.longestFrom(tokens[at].text)); });
  longest = std::min(longest, limit);
  if (longest == 0) return std::nullopt;
  std::string words = tokens[at].text;
  std::vector<std::size_t> ends = {words.size()};
  while (ends.size() < longest && tokens[at + ends.size()].kind == TokenKind::Word) {
    words += ' ';
    words += tokens[at + ends.size()].text;
    ends.push_back(words.size());
  }
  for (; !ends.empty(); ends.pop_back()) {
    Meaning meaning;
    eachLayer([&](const Terminology& terms) {
      const auto* term = terms.find(std::string_view(words).substr(0, ends.back()));
      if (!term) return;
      const auto* origin = &terms == &languageTerms() || &terms == &standardSuite() ? nullptr : &terms;
      if (meaning.words == 0) {
        meaning.words = ends.size();
        meaning.text = term->text;
      }
      if (meaning.property == 0) meaning.property = term->property;
      if (meaning.classCode == 0) {
        meaning.classCode = term->classCode;
        meaning.plural = term->plural;
        meaning.classTerms = origin;
      }
      if (meaning.enumerator == 0) {
        meaning.enumerator = term->enumerator;
        meaning.enumeratorTerms = origin;
      }
      if (!meaning.command) meaning.command = term->command;
    });
    if (meaning.words > 0) return meaning;
  }
  return std::nullopt;
}

}  // namespace quillbox::applescript
