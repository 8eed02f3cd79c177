// The search in its plain form, which the fast one is compared with: by tests, and by a fuzzer.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "base/text.h"
#include "mailboxes/index_search.h"
#include "mailboxes/query_pattern.h"

namespace quillbox {

// One regular expression for the run, every candidate folded, the whole text matched.
class PlainSearch {
 public:
  PlainSearch(const std::string& query, CaseMode mode) : query_(query, mode) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError place{};
    pattern_.reset(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(query_.pattern()), 0, place, status));
    if (U_FAILURE(status)) pattern_.reset();
  }

  // None for a candidate that costs ICU more than 10,000 steps ("a {9} {9}" has very many ways to try): the
  // search may give such a query up. What costs less it has to decide.
  std::optional<bool> matches(const std::string& candidate) const {
    if (query_.isEmpty()) return true;
    if (!pattern_) return false;
    const auto text = icu::UnicodeString::fromUTF8(text::foldDiacritics(candidate));
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::RegexMatcher> matcher(pattern_->matcher(text, status));
    matcher->setTimeLimit(1, status);  // in ten thousands of steps
    const bool matched = matcher->matches(status) != 0;
    if (status == U_REGEX_TIME_OUT) return std::nullopt;
    return matched && U_SUCCESS(status);
  }

  // By position, what this finds of one field. None when a candidate of it costs too much.
  std::optional<std::vector<bool>> hits(const SearchIndex& index, SearchField field) const {
    std::vector<bool> found;
    for (SearchIndex::Position p = 0; p < index.size(); ++p) {
      const auto& mailbox = index.mailbox(p);
      const auto isHit = matches(field == SearchField::path ? mailbox.path : mailbox.name);
      if (!isHit) return std::nullopt;
      found.push_back(*isHit);
    }
    return found;
  }

 private:
  QueryPattern query_;
  std::unique_ptr<icu::RegexPattern> pattern_;
};

}  // namespace quillbox
