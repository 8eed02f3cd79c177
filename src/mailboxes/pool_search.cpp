// Why the search for literal pieces gives exactly what the regular expression gives
//
// The pattern is (.*) w1 (.*) w2 ... (.*), each w a run of literal characters, unless the query holds $ { or
// }. Case counts: ICU compares code points. A text without line terminators matches when the runs occur in it
// in order without overlap; the leftmost occurrence of each run after the one before is as good as any other,
// and UTF-8 bytes are equal at an offset exactly when code points are. Case does not count: ICU applies full
// case folding to a run, F(w), and
// - compares a run whose folding is longer than one character with the full folding of the text, character by
//   character of the text; the match must not end inside the folding of one ("ß" folds to "ss", so "s" does
//   not match half of it), and starts where a character starts;
// - compares a run that folds to a single character p by simple folding, or exactly when p has no case. For
// every
//   character c whose full folding is a single character, that is what simple folding gives, and if it
//   differs from c then p has case; no character whose full folding is longer folds simply to such a p. (The
//   tests walk through all of Unicode for these three.)
// So a text matches when F(w1), F(w2) ... occur in order in F(text), each from a boundary between the
// foldings of two characters to another such boundary. Where no character of the text folds to several, every
// offset at which the bytes are equal is such a boundary. The dot stops at line terminators: where a text
// holds one, a run has to cover it, and the leftmost occurrence is no longer as good as any other. All
// occurrences are followed there (matchesAcrossLines). A $ is the end of a text without line terminators: at
// the end of the query it wants the run before it to end there, and the other runs to occur in order in what
// is before that. Every other query with $ { or } is left to ICU, and so are texts with line terminators
// under a $; the runs that such a pattern requires in any case still have to occur, so that ICU only sees
// texts that hold them.
//
// What is remembered between searches is the set of texts that hold the runs in order, boundaries or not: it
// only shrinks when runs grow. The set of true matches can grow: "stras" does not match "straße", "strass"
// does.
#include "mailboxes/pool_search.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/text.h"

namespace quillbox {
namespace {

constexpr std::size_t kWordsPerCancelCheck = 64;  // of 64 texts each
// Texts further apart are taken to have nothing in common.
constexpr std::uint32_t kNear = 16;

// The first occurrence of `needle` that begins at or after `from`, or nullptr.
inline const char* findLiteral(const char* from, const char* end, std::string_view needle,
                               std::size_t rareAt) {
  if (end - from < static_cast<std::ptrdiff_t>(needle.size())) return nullptr;
  const char* const last = end - needle.size();
  for (const char* at = from; at <= last; ++at) {
    const void* const rare =
        std::memchr(at + rareAt, needle[rareAt], static_cast<std::size_t>(last - at) + 1);
    if (rare == nullptr) return nullptr;
    at = static_cast<const char*>(rare) - rareAt;
    if (std::memcmp(at, needle.data(), needle.size()) == 0) {
      return at;
    }
  }
  return nullptr;
}

}  // namespace

std::size_t HitSet::count() const {
  std::size_t sum = 0;
  for (const auto word : words_) sum += static_cast<std::size_t>(std::popcount(word));
  return sum;
}

PoolSearch::PoolSearch(const TextPool& pool, const CompiledQuery& query, RawText raw)
    : pool_(pool), query_(query), raw_(std::move(raw)) {
  const auto& counts = pool_.byteCounts();
  for (const auto& needle : query_.needles()) {
    const auto rarest =
        std::ranges::min_element(needle, {}, [&](char c) { return counts[static_cast<unsigned char>(c)]; });
    needles_.push_back({needle, static_cast<std::size_t>(rarest - needle.begin())});
    characters_.add(CharacterSet::of(needle));
    maySplitExpansion_ = maySplitExpansion_ || pool_.maySplitExpansion(needle);
  }
  const auto isExact = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
  charactersDecide_ =
      needles_.empty() || (query_.pattern().caseMode() == CaseMode::insensitive && needles_.size() == 1 &&
                           needles_[0].bytes.size() == 1 && isExact(needles_[0].bytes[0]));
}

// Goes through texts in ascending order and looks for the needles in each. What a text shares with the one
// before is not read again: the needles that were found in it are there, and the next one is not.
class PoolSearch::Walk {
 public:
  explicit Walk(const PoolSearch& search) : search_(search), ends_(search.needles_.size()) {}

  bool holdsNeedles(std::uint32_t i) {
    const std::string_view text = search_.pool_.text(i);
    if (text.size() < search_.query_.needleBytes())
      return false;  // last_ stays the text that was looked at last
    const std::size_t shared = sharedWithLast(i);
    last_ = i;
    hasLast_ = true;
    std::size_t n = found_;
    while (n > 0 && ends_[n - 1] > shared) --n;
    found_ = n;
    const auto& needles = search_.needles_;
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    std::size_t from = n > 0 ? ends_[n - 1] : 0;
    if (n < needles.size() && shared >= needles[n].bytes.size()) {
      from = std::max(from, shared - needles[n].bytes.size() + 1);
    }
    for (; n < needles.size(); ++n) {
      const auto& needle = needles[n];
      const char* const at = findLiteral(begin + from, end, needle.bytes, needle.rareAt);
      if (at == nullptr) return false;
      from = static_cast<std::size_t>(at - begin) + needle.bytes.size();
      ends_[n] = static_cast<std::uint32_t>(from);
      found_ = n + 1;
    }
    return true;
  }

  // After holdsNeedles(i) was true: the first text behind i, at most `limit`, that does not begin with
  // everything up to the last needle's end.
  std::uint32_t followingHolders(std::uint32_t i, std::uint32_t limit) {
    const std::uint32_t end = ends_.empty() ? 0 : ends_.back();
    std::uint32_t next = i + 1;
    while (next < limit && search_.pool_.shared(next) >= end) ++next;
    last_ = next - 1;
    return next;
  }

 private:
  std::size_t sharedWithLast(std::uint32_t i) const {
    if (!hasLast_ || i - last_ > kNear) return 0;
    std::uint32_t shared = search_.pool_.shared(i);
    for (std::uint32_t k = last_ + 1; k < i; ++k) shared = std::min(shared, search_.pool_.shared(k));
    return shared;
  }

  const PoolSearch& search_;
  std::vector<std::uint32_t> ends_;  // where each needle that was found in text last_ ends
  std::size_t found_ = 0;
  std::uint32_t last_ = 0;
  bool hasLast_ = false;
};

bool PoolSearch::occurInOrder(std::span<const Needle> needles, std::string_view text,
                              Boundaries boundaries) const {
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto isInside = [&](const char* place) {
    return boundaries == Boundaries::ofCharacters && place < end && pool_.isInsideExpansion(place);
  };
  for (const auto& needle : needles) {
    const char* found = findLiteral(at, end, needle.bytes, needle.rareAt);
    while (found != nullptr && (isInside(found) || isInside(found + needle.bytes.size()))) {
      found = findLiteral(found + 1, end, needle.bytes, needle.rareAt);
    }
    if (found == nullptr) return false;
    at = found + needle.bytes.size();
  }
  return true;
}

bool PoolSearch::endsInLastNeedle(std::string_view text, Boundaries boundaries) const {
  const std::string_view last = needles_.back().bytes;
  if (!text.ends_with(last)) return false;
  text.remove_suffix(last.size());
  if (boundaries == Boundaries::ofCharacters && pool_.isInsideExpansion(text.data() + text.size()))
    return false;
  return occurInOrder(std::span(needles_).first(needles_.size() - 1), text, boundaries);
}

bool PoolSearch::matchesAcrossLines(std::string_view text) const {
  // By offset: whether the pattern up to here can have matched exactly the text before it. A dot goes on from
  // an offset to the next unless it would swallow a line terminator.
  std::vector<char> terminator(text.size() + 1, 0);
  std::vector<char> boundary(text.size() + 1, 0);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    text::nextCodePoint(text, at);
    boundary[start] = !pool_.isInsideExpansion(text.data() + start);
    terminator[start] = hasLineTerminator(text.substr(start, at - start));
  }
  boundary[text.size()] = 1;
  const auto passDots = [&](std::vector<char>& reached) {
    bool going = false;
    for (std::size_t at = 0; at <= text.size(); ++at) {
      going = going || reached[at];
      reached[at] = going;
      if (terminator[at]) going = false;
    }
  };
  std::vector<char> reached(text.size() + 1, 0);
  reached[0] = 1;
  passDots(reached);
  for (const auto& needle : needles_) {
    std::vector<char> behind(text.size() + 1, 0);
    for (std::size_t at = 0; at + needle.bytes.size() <= text.size(); ++at) {
      const std::size_t end = at + needle.bytes.size();
      if (reached[at] && boundary[at] && boundary[end] && text.substr(at).starts_with(needle.bytes)) {
        behind[end] = 1;
      }
    }
    passDots(behind);
    reached = std::move(behind);
  }
  return reached[text.size()] != 0;
}

bool PoolSearch::matchesPattern(std::uint32_t i) {
  if (!pattern_) pattern_ = std::make_unique<PatternMatcher>(query_.pattern());
  // Case folding changes nothing for the pattern unless it changed a length.
  if (!pool_.hasExpansion(i)) return pattern_->matches(pool_.text(i));
  return pattern_->matches(text::foldDiacritics(raw_(i)));
}

// For a text that holds the needles in order.
bool PoolSearch::isRealMatch(std::uint32_t i) {
  if (!query_.needlesDecide()) return matchesPattern(i);
  const std::string_view text = pool_.text(i);
  const bool terminated = (pool_.withLineTerminator()[i / 64] >> (i % 64) & 1U) != 0;
  if (terminated) return query_.hasAnchor() ? matchesPattern(i) : matchesAcrossLines(text);
  const bool maySplit = maySplitExpansion_ && pool_.hasExpansion(i);
  const auto boundaries = maySplit ? Boundaries::ofCharacters : Boundaries::any;
  if (query_.endsInNeedle()) return endsInLastNeedle(text, boundaries);
  return !maySplit || occurInOrder(needles_, text, boundaries);
}

bool PoolSearch::matches(std::uint32_t i) {
  if (query_.matchesEverything()) return true;
  if (hasFailed() || pool_.text(i).size() < query_.needleBytes()) return false;
  return occurInOrder(needles_, pool_.text(i), Boundaries::any) && isRealMatch(i);
}

bool PoolSearch::findHolders(const HitSet* among, const Admit& admit, const std::atomic<bool>& cancelled,
                             HitSet& found) const {
  Walk walk(*this);
  const std::uint32_t count = pool_.size();
  for (std::size_t w = 0; w * 64 < count; ++w) {
    if (w % kWordsPerCancelCheck == 0 && cancelled.load(std::memory_order_relaxed)) return false;
    const auto first = static_cast<std::uint32_t>(w * 64);
    std::uint64_t candidates = 0;
    if (among != nullptr) {
      candidates = among->words()[w];
    } else {
      const std::uint32_t inWord = std::min<std::uint32_t>(64, count - first);
      for (std::uint32_t i = 0; i < inWord; ++i) {
        candidates |= std::uint64_t{pool_.characters(first + i).contains(characters_)} << i;
      }
      if (admit) candidates = admit(w, candidates);
      if (charactersDecide_) {
        found.words()[w] = candidates;
        continue;
      }
    }
    std::uint64_t hits = 0;
    for (std::uint64_t bits = candidates; bits != 0; bits &= bits - 1) {
      const auto i = static_cast<std::uint32_t>(std::countr_zero(bits));
      if (!walk.holdsNeedles(first + i)) continue;
      const std::uint32_t end = walk.followingHolders(first + i, std::min(first + 64, count)) - first;
      // The bits from i up to, not including, `end`.
      const std::uint64_t run = ~std::uint64_t{0} >> (64 - (end - i)) << i;
      hits |= candidates & run;
      bits &= ~run | (bits & (~bits + 1));
    }
    found.words()[w] = hits;
  }
  return true;
}

bool PoolSearch::keepMatches(HitSet& holders, const std::atomic<bool>& cancelled) {
  if (query_.matchesEverything()) return true;
  const auto& terminated = pool_.withLineTerminator();
  const auto& expanded = pool_.withExpansion();
  for (std::size_t w = 0; w < holders.words().size(); ++w) {
    std::uint64_t doubtful = holders.words()[w];
    if (query_.needlesDecide() && !query_.endsInNeedle())
      doubtful &= terminated[w] | (maySplitExpansion_ ? expanded[w] : 0);
    if (doubtful != 0 && cancelled.load(std::memory_order_relaxed)) return false;
    for (; doubtful != 0; doubtful &= doubtful - 1) {
      const auto i =
          static_cast<std::uint32_t>(w * 64 + static_cast<std::size_t>(std::countr_zero(doubtful)));
      if (!isRealMatch(i)) holders.remove(i);
      if (!hasFailed()) continue;
      holders.clear();
      return true;
    }
  }
  return true;
}

}  // namespace quillbox
