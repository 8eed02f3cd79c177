#include <fmt/format.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox::text {
namespace {

// Backtracking bounds (ICU: about one unit a thousand steps; bytes of stack). Beyond them a match counts as
// none.
constexpr std::int32_t kTimeLimit = 2000;
constexpr std::int32_t kStackLimit = 32 * 1024 * 1024;

icu::UnicodeString fromUtf8(std::string_view utf8) {
  return icu::UnicodeString::fromUTF8({utf8.data(), static_cast<std::int32_t>(utf8.size())});
}

}  // namespace

struct Regex::Pattern {
  std::unique_ptr<icu::RegexPattern> compiled;

  // A matcher holds state, the compiled pattern none; `subject` must outlive what is returned.
  std::unique_ptr<icu::RegexMatcher> matcher(const icu::UnicodeString& subject) const {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> made(compiled->matcher(subject, status));
    if (U_SUCCESS(status)) made->setTimeLimit(kTimeLimit, status);
    if (U_SUCCESS(status)) made->setStackLimit(kStackLimit, status);
    if (U_FAILURE(status)) return nullptr;
    return made;
  }
};

Regex::Regex(std::shared_ptr<const Pattern> pattern) : pattern_(std::move(pattern)) {}

Result<Regex> Regex::compile(std::string_view pattern) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError place{};
  auto holder = std::make_shared<Pattern>();
  holder->compiled.reset(icu::RegexPattern::compile(fromUtf8(pattern), 0, place, status));
  if (U_FAILURE(status) || !holder->compiled) {
    return fail(error_number::settingValueInvalid,
                fmt::format("The pattern “{}” is not a regular expression ({} at offset {}).",
                            singleLine(pattern), u_errorName(status), place.offset));
  }
  return Regex(std::move(holder));
}

bool Regex::matchesWhole(std::string_view subject) const {
  const icu::UnicodeString text = fromUtf8(subject);
  const auto matcher = pattern_->matcher(text);
  UErrorCode status = U_ZERO_ERROR;
  return matcher && matcher->matches(status) && U_SUCCESS(status);
}

namespace {

Regex::Match groupsOf(const icu::RegexMatcher& matcher) {
  Regex::Match match;
  for (std::int32_t i = 0; i <= matcher.groupCount(); ++i) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString group = matcher.group(i, status);
    match.groups.emplace_back();
    if (U_SUCCESS(status)) group.toUTF8String(match.groups.back());
  }
  return match;
}

}  // namespace

std::optional<Regex::Match> Regex::findFirst(std::string_view subject) const {
  const icu::UnicodeString text = fromUtf8(subject);
  const auto matcher = pattern_->matcher(text);
  UErrorCode status = U_ZERO_ERROR;
  if (!matcher || !matcher->find(status) || U_FAILURE(status)) return std::nullopt;
  return groupsOf(*matcher);
}

std::vector<Regex::Match> Regex::findAll(std::string_view subject) const {
  std::vector<Match> matches;
  const icu::UnicodeString text = fromUtf8(subject);
  const auto matcher = pattern_->matcher(text);
  UErrorCode status = U_ZERO_ERROR;
  while (matcher && matcher->find(status) && U_SUCCESS(status)) matches.push_back(groupsOf(*matcher));
  return matches;
}

}  // namespace quillbox::text
