// Which terms are known at a place of the source: the dictionaries around it, innermost first.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "applescript/lexer.h"
#include "applescript/terminology.h"

namespace quillbox::applescript {

// A term as found in the source, with every meaning that any dictionary in force gives to the same words.
struct Meaning {
  std::size_t words = 0;
  std::string_view text;
  Code property = 0;
  Code classCode = 0;
  bool plural = false;
  Code enumerator = 0;
  const Command* command = nullptr;
  const Terminology* classTerms = nullptr;  // nullptr: the language's own
  const Terminology* enumeratorTerms = nullptr;
};

class TermScope {
 public:
  // The dictionary of a `tell`, until leave().
  void enter(const Terminology& terms) { tells_.push_back(&terms); }
  void leave() { tells_.pop_back(); }
  bool inApplication() const { return !tells_.empty(); }
  // Dictionaries that count after that of the `tell`: of `use` for the whole script, and of the applications
  // that the present line names.
  void import(const Terminology& terms) { imported_.push_back(&terms); }
  void setLine(std::vector<const Terminology*> terms) { line_ = std::move(terms); }
  const std::vector<const Terminology*>& line() const { return line_; }

  // The longest term of at most `limit` words that begins at a token.
  std::optional<Meaning> match(const std::vector<Token>& tokens, std::size_t at,
                               std::size_t limit = SIZE_MAX) const;

 private:
  template <class Visit>
  void eachLayer(Visit visit) const;

  std::vector<const Terminology*> tells_;
  std::vector<const Terminology*> imported_;
  std::vector<const Terminology*> line_;
};

}  // namespace quillbox::applescript
