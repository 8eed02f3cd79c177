// Searching an index for the mailboxes that match a query.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "mailboxes/compiled_query.h"
#include "mailboxes/pool_search.h"
#include "mailboxes/search_index.h"

namespace quillbox {

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
    std::shared_ptr<const HitSet> hits;  // texts of the field's pool that hold the needles in order
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
  IndexSearch(const IndexSearch&) = delete;
  IndexSearch& operator=(const IndexSearch&) = delete;

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
  std::uint64_t inScope(const AccountScope& scope, std::size_t word, std::uint64_t bits) const;
  std::optional<HitSet> matchesIn(SearchField field, const AccountScope& scope, SearchMemory* memory,
                                  const std::atomic<bool>& cancelled);

  std::shared_ptr<const SearchIndex> index_;
  const CompiledQuery& query_;
  PoolSearch paths_;
  PoolSearch names_;
};

}  // namespace quillbox
