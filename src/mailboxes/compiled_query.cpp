#include "mailboxes/compiled_query.h"

#include <algorithm>
#include <ranges>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "base/text.h"

namespace quillbox {
namespace {

// ICU calls back every 10,000 backtracking steps, each of which copies some bytes for every group of the
// pattern. The budgets are in such bytes: about a tenth of a second for one text and one second for all of
// them.
constexpr std::int64_t kStepsPerCall = 10'000;
constexpr std::int64_t kBytesPerGroup = 24;
constexpr std::int64_t kWorkPerText = std::int64_t{1} << 28;
constexpr std::int64_t kWorkPerRun = std::int64_t{1} << 31;
constexpr std::int32_t kStackBytes = 32 * 1024 * 1024;
// Compiling takes ICU time that grows with the square of the length.
constexpr std::size_t kLongestQuery = 2'000;

void dropLastCodePoint(std::string& text) {
  while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
  if (!text.empty()) text.pop_back();
}

// Control characters that are no part of the pattern.
bool isDropped(char c) {
  return static_cast<unsigned char>(c) < 32 && c != '\t' && c != '\r' && c != '\n';
}

// The runs of literal characters in the pattern of a folded query. A repeated character ("a{0}") need not
// occur, so the one before a brace belongs to no run; what stands inside the braces is no text.
std::vector<std::string> literalRuns(std::string_view folded) {
  std::vector<std::string> runs;
  std::string run;
  const auto flush = [&] {
    if (!run.empty()) runs.push_back(std::move(run));
    run.clear();
  };
  bool inBraces = false;
  for (const char c : folded) {
    if (inBraces) {
      inBraces = c != '}';
    } else if (c == '{') {
      dropLastCodePoint(run);
      flush();
      inBraces = true;
    } else if (c == ' ' || c == '$' || c == '}') {
      flush();
    } else if (!isDropped(c)) {
      run += c;
    }
  }
  flush();
  return runs;
}

}  // namespace

std::string searchForm(std::string_view text, CaseMode mode) {
  std::string folded = text::foldDiacritics(text);
  return mode == CaseMode::insensitive ? text::foldCase(folded) : folded;
}

CompiledQuery::CompiledQuery(std::string_view query, CaseMode mode) : pattern_(query, mode) {
  const std::string_view folded = pattern_.folded();
  const auto anchor = folded.find('$');
  hasAnchor_ = anchor != std::string_view::npos;
  needlesDecide_ = folded.find_first_of("{}") == std::string_view::npos;
  if (hasAnchor_) {
    const auto behind = folded.substr(anchor);
    needlesDecide_ = needlesDecide_ && folded.size() <= kLongestQuery &&
                     std::ranges::all_of(behind, [](char c) { return c == ' ' || c == '$' || isDropped(c); });
    const auto before = std::ranges::find_if_not(folded.substr(0, anchor) | std::views::reverse, isDropped);
    endsInNeedle_ = needlesDecide_ && before.base() != folded.begin() && *before != ' ';
  }
  needles_ = literalRuns(pattern_.folded());
  for (auto& needle : needles_) {
    if (mode == CaseMode::insensitive) needle = text::foldCase(needle);
    needleBytes_ += needle.size();
  }
}

struct PatternMatcher::State {
  std::unique_ptr<icu::RegexPattern> pattern;
  std::unique_ptr<icu::RegexMatcher> matcher;
  icu::UnicodeString empty;
  icu::UnicodeString subject;
  std::int64_t workPerCall = 0;
  std::int64_t workLeft = kWorkPerRun;

  static UBool U_CALLCONV mayGoOn(const void* context, std::int32_t calls) {
    auto& state = *static_cast<State*>(const_cast<void*>(context));
    state.workLeft -= state.workPerCall;
    return state.workLeft > 0 && calls * state.workPerCall < kWorkPerText;
  }
};

PatternMatcher::PatternMatcher(const QueryPattern& pattern) : state_(std::make_unique<State>()) {
  if (pattern.folded().size() > kLongestQuery) return;
  const auto source = pattern.pattern();
  UErrorCode status = U_ZERO_ERROR;
  UParseError place{};
  state_->pattern.reset(icu::RegexPattern::compile(
      icu::UnicodeString::fromUTF8({source.data(), static_cast<std::int32_t>(source.size())}), 0, place,
      status));
  if (U_FAILURE(status) || !state_->pattern) return;
  std::unique_ptr<icu::RegexMatcher> matcher(state_->pattern->matcher(state_->empty, status));
  if (U_SUCCESS(status)) matcher->setStackLimit(kStackBytes, status);
  if (U_SUCCESS(status)) matcher->setMatchCallback(&State::mayGoOn, state_.get(), status);
  if (U_FAILURE(status)) return;
  state_->workPerCall = kStepsPerCall * kBytesPerGroup * (2 + matcher->groupCount());
  state_->matcher = std::move(matcher);
}

PatternMatcher::~PatternMatcher() = default;

bool PatternMatcher::hasFailed() const {
  return !state_->matcher || state_->workLeft <= 0;
}

bool PatternMatcher::matches(std::string_view foldedText) {
  if (hasFailed()) return false;
  state_->subject =
      icu::UnicodeString::fromUTF8({foldedText.data(), static_cast<std::int32_t>(foldedText.size())});
  state_->matcher->reset(state_->subject);
  UErrorCode status = U_ZERO_ERROR;
  const bool matched = state_->matcher->matches(status) != 0;
  return matched && U_SUCCESS(status);
}

}  // namespace quillbox
