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
// occurrences are followed there (matchesAcrossLines). A query with $ { or } is left to ICU; the runs that
// such a pattern requires in any case still have to occur, so that ICU only sees texts that hold them.
//
// What is remembered between searches is the set of texts that hold the runs in order, boundaries or not: it
// only shrinks when runs grow. The set of true matches can grow: "stras" does not match "straße", "strass"
// does.
#include "mailboxes/index_search.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"

namespace quillbox {
namespace {

constexpr std::size_t kRememberedSearches = 8;
constexpr std::size_t kWordsPerCancelCheck = 64;  // of 64 texts each

struct LiteralFinder {
  // The first occurrence of `needle` that begins at or after `from`, or nullptr.
  static const char* find(const char* from, const char* end, std::string_view needle, std::size_t rareAt) {
    if (static_cast<std::size_t>(end - from) < needle.size()) return nullptr;
    const char* const last = end - needle.size();
    for (const char* at = from; at <= last; ++at) {
      const void* const rare =
          std::memchr(at + rareAt, needle[rareAt], static_cast<std::size_t>(last - at) + 1);
      if (rare == nullptr) return nullptr;
      at = static_cast<const char*>(rare) - rareAt;
      if (std::memcmp(at, needle.data(), needle.size()) == 0) return at;
    }
    return nullptr;
  }
};

// Whether every text that holds `longer` in order holds `shorter` in order.
bool implies(const std::vector<std::string>& longer, const std::vector<std::string>& shorter) {
  std::size_t at = 0;  // in the needle `place` of longer, from where the next one may be found
  std::size_t place = 0;
  for (const auto& needle : shorter) {
    while (place < longer.size()) {
      const auto found = longer[place].find(needle, at);
      if (found != std::string::npos) {
        at = found + needle.size();
        break;
      }
      ++place;
      at = 0;
    }
    if (place == longer.size()) return false;
  }
  return true;
}

}  // namespace

std::size_t HitSet::count() const {
  std::size_t sum = 0;
  for (const auto word : words_) sum += static_cast<std::size_t>(std::popcount(word));
  return sum;
}

AccountScope::AccountScope(const SearchIndex& index, const std::vector<std::string>& names) {
  if (names.empty()) return;
  allowed_.assign(index.accountCount() + 1, 0);
  for (const auto& name : names) {
    if (const auto number = index.accountNumber(name)) allowed_[*number] = 1;
  }
}

const SearchMemory::Entry* SearchMemory::find(const SearchIndex& index,
                                              const std::vector<std::string>& needles, SearchField field,
                                              const AccountScope& scope) const {
  if (index_.lock().get() != &index) return nullptr;
  const Entry* best = nullptr;
  std::size_t bestCount = 0;
  for (const auto& entry : entries_) {
    if (entry.field != field || entry.scope != scope || !implies(needles, entry.needles)) continue;
    const std::size_t count = entry.hits->count();
    if (best == nullptr || count < bestCount) {
      best = &entry;
      bestCount = count;
    }
  }
  return best;
}

void SearchMemory::remember(const std::shared_ptr<const SearchIndex>& index, Entry entry) {
  if (index_.lock() != index) {
    entries_.clear();
    index_ = index;
  }
  std::erase_if(entries_, [&](const Entry& old) {
    return old.field == entry.field && old.scope == entry.scope && old.needles == entry.needles;
  });
  entries_.push_front(std::move(entry));
  if (entries_.size() > kRememberedSearches) entries_.pop_back();
}

IndexSearch::IndexSearch(std::shared_ptr<const SearchIndex> index, const CompiledQuery& query)
    : index_(std::move(index)), query_(query) {
  const auto& counts = index_->byteCounts();
  for (const auto& needle : query_.needles()) {
    const auto rarest =
        std::ranges::min_element(needle, {}, [&](char c) { return counts[static_cast<unsigned char>(c)]; });
    needles_.push_back({needle, static_cast<std::size_t>(rarest - needle.begin())});
    characters_.add(CharacterSet::of(needle));
  }
  const auto isExact = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
  charactersDecide_ =
      needles_.empty() ||
      (index_->namesEndPaths() && query_.pattern().caseMode() == CaseMode::insensitive &&
       needles_.size() == 1 && needles_[0].bytes.size() == 1 && isExact(needles_[0].bytes[0]));
}

bool IndexSearch::hasFailed() const {
  return pattern_ != nullptr && pattern_->hasFailed();
}

bool IndexSearch::holdsNeedles(std::string_view text) const {
  if (text.size() < query_.needleBytes()) return false;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (const auto& needle : needles_) {
    at = LiteralFinder::find(at, end, needle.bytes, needle.rareAt);
    if (at == nullptr) return false;
    at += needle.bytes.size();
  }
  return true;
}

bool IndexSearch::holdsNeedlesAtBoundaries(std::string_view text) const {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (const auto& needle : needles_) {
    const char* found = LiteralFinder::find(at, end, needle.bytes, needle.rareAt);
    while (found != nullptr &&
           (index_->isInsideExpansion(found) || index_->isInsideExpansion(found + needle.bytes.size()))) {
      found = LiteralFinder::find(found + 1, end, needle.bytes, needle.rareAt);
    }
    if (found == nullptr) return false;
    at = found + needle.bytes.size();
  }
  return true;
}

bool IndexSearch::matchesAcrossLines(std::string_view text) const {
  // By offset: whether the pattern up to here can have matched exactly the text before it. A dot goes on from
  // an offset to the next unless it would swallow a line terminator.
  std::vector<char> terminator(text.size() + 1, 0);
  std::vector<char> boundary(text.size() + 1, 0);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    text::nextCodePoint(text, at);
    boundary[start] = !index_->isInsideExpansion(text.data() + start);
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

bool IndexSearch::matchesPattern(SearchIndex::Position position, SearchField field) {
  if (!pattern_) pattern_ = std::make_unique<PatternMatcher>(query_.pattern());
  // Case folding changes nothing for the pattern unless it changed a length.
  if (!index_->isSpecial(position)) return pattern_->matches(index_->text(position, field));
  const Mailbox& mailbox = index_->mailbox(position);
  return pattern_->matches(text::foldDiacritics(field == SearchField::path ? mailbox.path : mailbox.name));
}

// For a text that holds the needles in order.
bool IndexSearch::isRealMatch(SearchIndex::Position position, SearchField field) {
  if (!query_.needlesDecide()) return matchesPattern(position, field);
  if (!index_->isSpecial(position)) return true;
  const std::string_view text = index_->text(position, field);
  return hasLineTerminator(text) ? matchesAcrossLines(text) : holdsNeedlesAtBoundaries(text);
}

bool IndexSearch::matches(SearchIndex::Position position, SearchField field) {
  if (query_.matchesEverything()) return true;
  return !hasFailed() && holdsNeedles(index_->text(position, field)) && isRealMatch(position, field);
}

// Adds to `found` the texts that hold the needles in order. False when cancelled.
template <SearchField Field>
bool IndexSearch::scan(const HitSet* among, const AccountScope& scope, const std::atomic<bool>& cancelled,
                       HitSet& found) const {
  const SearchIndex& index = *index_;
  const bool charactersDecide = charactersDecide_ && (Field == SearchField::path || needles_.empty());
  auto& words = found.words();
  const SearchIndex::Position count = index.size();
  for (std::size_t w = 0; w * 64 < count; ++w) {
    if (w % kWordsPerCancelCheck == 0 && cancelled.load(std::memory_order_relaxed)) return false;
    const auto first = static_cast<SearchIndex::Position>(w * 64);
    const SearchIndex::Position inWord = std::min<SearchIndex::Position>(64, count - first);
    std::uint64_t candidates = inWord == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << inWord) - 1;
    if (among != nullptr) {
      candidates = among->words()[w];  // the scope was applied when it was found
    } else {
      std::uint64_t possible = 0;
      for (SearchIndex::Position i = 0; i < inWord; ++i) {
        possible |= std::uint64_t{index.characters(first + i).contains(characters_)} << i;
      }
      candidates &= possible;
      if (scope.restricts()) {
        for (std::uint64_t bits = candidates; bits != 0; bits &= bits - 1) {
          if (!scope.allows(
                  index.account(first + static_cast<SearchIndex::Position>(std::countr_zero(bits))))) {
            candidates &= ~(bits & (~bits + 1));
          }
        }
      }
    }
    if (charactersDecide && among == nullptr) {
      words[w] = candidates;
      continue;
    }
    std::uint64_t hits = 0;
    for (std::uint64_t bits = candidates; bits != 0; bits &= bits - 1) {
      const auto i = static_cast<SearchIndex::Position>(std::countr_zero(bits));
      hits |= std::uint64_t{holdsNeedles(index.text(first + i, Field))} << i;
    }
    words[w] = hits;
  }
  return true;
}

std::optional<HitSet> IndexSearch::all(SearchField field, const AccountScope& scope, SearchMemory* memory,
                                       const std::atomic<bool>& cancelled) {
  const bool needsNoText = query_.matchesEverything();
  const SearchMemory::Entry* const known =
      memory != nullptr && !needsNoText ? memory->find(*index_, query_.needles(), field, scope) : nullptr;
  auto found = std::make_shared<HitSet>(index_->size());
  if (hasFailed()) return *found;
  if (known != nullptr && known->needles == query_.needles()) {
    *found = *known->hits;
  } else {
    const HitSet* const among = known != nullptr ? known->hits.get() : nullptr;
    const bool complete = field == SearchField::path
                              ? scan<SearchField::path>(among, scope, cancelled, *found)
                              : scan<SearchField::name>(among, scope, cancelled, *found);
    if (!complete) return std::nullopt;
  }
  if (needsNoText) return std::move(*found);

  HitSet real = *found;
  if (memory != nullptr) memory->remember(index_, {query_.needles(), field, scope, found});
  const auto& special = index_->specialWords();
  for (std::size_t w = 0; w < real.words().size(); ++w) {
    if (cancelled.load(std::memory_order_relaxed)) return std::nullopt;
    const std::uint64_t doubtful = query_.needlesDecide() ? real.words()[w] & special[w] : real.words()[w];
    for (std::uint64_t bits = doubtful; bits != 0; bits &= bits - 1) {
      const auto position =
          static_cast<SearchIndex::Position>(w * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
      if (!isRealMatch(position, field)) real.remove(position);
      if (hasFailed()) {
        real.clear();
        return real;
      }
    }
  }
  return real;
}

}  // namespace quillbox
