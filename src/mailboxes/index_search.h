// Searching an index for the mailboxes that match a query.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "mailboxes/compiled_query.h"
#include "mailboxes/search_index.h"

namespace quillbox {

// A set of positions.
class HitSet {
 public:
  explicit HitSet(std::size_t size) : words_(size / 64 + 1) {}

  void add(std::uint32_t position) { words_[position / 64] |= std::uint64_t{1} << (position % 64); }
  void remove(std::uint32_t position) { words_[position / 64] &= ~(std::uint64_t{1} << (position % 64)); }
  bool contains(std::uint32_t position) const { return (words_[position / 64] >> (position % 64) & 1U) != 0; }
  std::size_t count() const;
  void clear() { words_.assign(words_.size(), 0); }

  std::vector<std::uint64_t>& words() { return words_; }
  const std::vector<std::uint64_t>& words() const { return words_; }

  template <class Visit>
  void forEach(Visit&& visit) const {
    for (std::size_t w = 0; w < words_.size(); ++w) {
      for (std::uint64_t bits = words_[w]; bits != 0; bits &= bits - 1) {
        visit(static_cast<std::uint32_t>(w * 64 + static_cast<std::size_t>(std::countr_zero(bits))));
      }
    }
  }

 private:
  std::vector<std::uint64_t> words_;
};

// Which accounts are searched. An empty one restricts nothing; names that the index does not know match none.
class AccountScope {
 public:
  AccountScope() = default;
  AccountScope(const SearchIndex& index, const std::vector<std::string>& names);

  bool restricts() const { return !allowed_.empty(); }
  bool allows(std::uint32_t account) const { return allowed_.empty() || allowed_[account] != 0; }
  bool operator==(const AccountScope&) const = default;

 private:
  std::vector<std::uint8_t> allowed_;  // by account number, and one more, so that it is never empty in force
};

// What earlier searches found, for those that follow: a query that grew can only match what it matched
// before. Belongs to one searcher at a time.
class SearchMemory {
 public:
  struct Entry {
    std::vector<std::string> needles;
    SearchField field = SearchField::path;
    AccountScope scope;
    std::shared_ptr<const HitSet> hits;  // texts that hold the needles in order
  };

  // The smallest remembered set that holds every possible hit of such a search; nothing when there is none.
  const Entry* find(const SearchIndex& index, const std::vector<std::string>& needles, SearchField field,
                    const AccountScope& scope) const;
  void remember(const std::shared_ptr<const SearchIndex>& index, Entry entry);

 private:
  std::weak_ptr<const SearchIndex> index_;
  std::deque<Entry> entries_;  // youngest first
};

// One query over one index. Not for several threads at once.
class IndexSearch {
 public:
  IndexSearch(std::shared_ptr<const SearchIndex> index, const CompiledQuery& query);

  // A text had to be tried on the pattern, and it is no regular expression, is too long, or needed too many
  // steps: the query matches nothing, and what was found so far does not count.
  bool hasFailed() const;

  // Whether the text at this position matches; the account is not asked.
  bool matches(SearchIndex::Position position, SearchField field);

  // All positions whose text matches and whose account is allowed; nothing when `cancelled` became true.
  // `memory` may be null.
  std::optional<HitSet> all(SearchField field, const AccountScope& scope, SearchMemory* memory,
                            const std::atomic<bool>& cancelled);

 private:
  struct Needle {
    std::string_view bytes;
    std::size_t rareAt;  // the byte of it that the texts hold least often
  };

  bool holdsNeedles(std::string_view text) const;
  bool holdsNeedlesAtBoundaries(std::string_view text) const;
  bool matchesAcrossLines(std::string_view text) const;
  bool isRealMatch(SearchIndex::Position position, SearchField field);
  bool matchesPattern(SearchIndex::Position position, SearchField field);
  template <SearchField Field>
  bool scan(const HitSet* among, const AccountScope& scope, const std::atomic<bool>& cancelled,
            HitSet& found) const;

  std::shared_ptr<const SearchIndex> index_;
  const CompiledQuery& query_;
  std::vector<Needle> needles_;
  CharacterSet characters_;
  bool charactersDecide_ = false;
  std::unique_ptr<PatternMatcher> pattern_;  // made when the first text needs it
};

}  // namespace quillbox
