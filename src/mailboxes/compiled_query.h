// A query made ready for searching many texts: the literal pieces that every match contains, and the regular
// expression for the texts on which those pieces alone cannot decide.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxes/query_pattern.h"

namespace quillbox {

// The form in which texts are searched: diacritics folded and, where the case does not count, full case
// folding applied. Invalid UTF-8 becomes U+FFFD.
std::string searchForm(std::string_view text, CaseMode mode);

// Immutable; any thread.
class CompiledQuery {
 public:
  CompiledQuery(std::string_view query, CaseMode mode);

  bool matchesEverything() const { return pattern_.isEmpty(); }
  const QueryPattern& pattern() const { return pattern_; }

  // Literal pieces in search form, none empty. Every text that matches contains them, in this order and
  // without overlap, in its own search form.
  const std::vector<std::string>& needles() const { return needles_; }
  std::size_t needleBytes() const { return needleBytes_; }
  // The needles decide without the pattern (see pool_search.cpp): the query has no braces, and no $ or only
  // such as stand at its end.
  bool needlesDecide() const { return needlesDecide_; }
  // The query holds a $; how it meets line terminators is left to the pattern.
  bool hasAnchor() const { return hasAnchor_; }
  // Of a query that the needles decide: its last needle has to be the end of the text ("old$").
  bool endsInNeedle() const { return endsInNeedle_; }

 private:
  QueryPattern pattern_;
  std::vector<std::string> needles_;
  std::size_t needleBytes_ = 0;
  bool needlesDecide_ = true;
  bool hasAnchor_ = false;
  bool endsInNeedle_ = false;
};

// The pattern as a regular expression at work on one text after another. Not for several threads at once.
// Its work is bounded, for one text and for the lifetime of the object: a pattern that needs more has failed,
// and so has one of a query that is longer than 2,000 bytes.
class PatternMatcher {
 public:
  explicit PatternMatcher(const QueryPattern& pattern);
  ~PatternMatcher();
  PatternMatcher(const PatternMatcher&) = delete;
  PatternMatcher& operator=(const PatternMatcher&) = delete;

  // The pattern is no regular expression, or it has used up its work: it matches nothing any more.
  bool hasFailed() const;
  // Whether the whole of `foldedText` (diacritics folded, valid UTF-8) matches. A text that needs too much
  // work or stack does not.
  bool matches(std::string_view foldedText);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillbox
