#include "automation/failure_text.h"

#include <charconv>

#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox {
namespace {

const text::Regex& failurePattern() {
  static const auto pattern = text::Regex::compile(R"(:\s*([^:]+)\s*\((-?\d+)\)$)");
  if (!pattern) fatal("the pattern of failure texts does not compile");
  return *pattern;
}

// The whole of `digits` as a signed decimal number; -2000 when it is none or does not fit.
std::int64_t numberOf(std::string_view digits) {
  std::int64_t number = 0;
  const auto* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  return error == std::errc() && stop == end ? number : error_number::unparsedFailure;
}

}  // namespace

AppleScriptError parseFailureText(std::string_view text, const Localizer& localizer) {
  const auto match = failurePattern().findFirst(text);
  if (!match) return AppleScriptError::executionError(std::string(text), error_number::unparsedFailure);
  std::string message = match->groups[1];
  const auto number = numberOf(match->groups[2]);
  if (number == error_number::objectNotFound) {
    message = localizer.format("LN_gmail_archive_mailbox_1728_error %@", {message});
  }
  return AppleScriptError::executionError(std::move(message), number);
}

}  // namespace quillbox
