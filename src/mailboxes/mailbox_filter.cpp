#include "mailboxes/mailbox_filter.h"

#include <algorithm>

#include "base/text.h"

namespace quillbox {
namespace {

using Position = SearchIndex::Position;

// One run. Rows are positions of the index; from index.size() on they are suggestions that the list does not
// hold.
class FilterRun {
 public:
  FilterRun(const FilterSnapshot& snapshot, SearchMemory* memory, const std::atomic<bool>& cancelled)
      : snapshot_(snapshot),
        index_(*snapshot.index),
        memory_(memory),
        cancelled_(cancelled),
        query_(snapshot.query, index_.caseMode()),
        search_(snapshot.index, query_) {
    if (snapshot.options.selectedAccountsOnly) scope_ = AccountScope(index_, snapshot.searchScope);
  }

  std::optional<MailboxFilterResult> result() {
    auto matching = search_.all(field(), scope_, memory_, cancelled_);
    if (!matching) return std::nullopt;
    for (const auto& mailbox : snapshot_.excluded) {
      if (const auto position = index_.find(mailbox.id)) matching->remove(*position);
    }
    rest_ = std::move(*matching);
    auto suggestions = matchingSuggestions();
    assemble(suggestions);
    if (search_.hasFailed()) {
      // The pattern gave up half-way: what it found before would depend on the order of the list.
      blocks_.clear();
      rest_.clear();
      suggestions.clear();
    }

    MailboxFilterResult result;
    for (const Position row : suggestions) result.suggestedMailboxes.push_back(at(row));
    auto indices = displayIndices();
    result.filteredMailboxes =
        MailboxRows(index_.list(), std::move(indices), MailboxList(std::move(strangers_)));
    const auto decision = decideSelection(
        result.filteredMailboxes, index_, snapshot_.selectedMailboxId,
        !query_.matchesEverything() || suggestionsOnTop_ ? FirstRow::selected : FirstRow::notSelected);
    result.shouldClearSelection = decision.shouldClearSelection;
    result.selectedMailboxOverride = decision.selectedMailboxOverride;
    result.shouldPostDonePredicting = snapshot_.askedForSuggestions;
    return result;
  }

 private:
  SearchField field() const {
    return snapshot_.options.mailboxNameOnly ? SearchField::name : SearchField::path;
  }

  const Mailbox& at(Position row) const {
    return row < index_.size() ? index_.mailbox(row) : strangers_[row - index_.size()];
  }

  bool isExcluded(const Mailbox& mailbox) const {
    return std::ranges::any_of(snapshot_.excluded,
                               [&](const Mailbox& other) { return other.id == mailbox.id; });
  }

  bool matches(Position position, SearchField field) {
    return query_.matchesEverything() ||
           (scope_.allows(index_.account(position)) && search_.matches(position, field));
  }

  std::vector<Position> matchingSuggestions() {
    std::vector<Position> rows;
    std::optional<MailboxMatcher> stranger;
    for (const auto& mailbox : snapshot_.suggestions) {
      if (isExcluded(mailbox)) continue;
      if (const auto position = index_.find(mailbox.id)) {
        if (matches(*position, field())) rows.push_back(*position);
        continue;
      }
      if (!stranger) {
        stranger.emplace(snapshot_.query, index_.caseMode(), snapshot_.options, snapshot_.searchScope);
      }
      if (!query_.matchesEverything() && !stranger->matches(&mailbox)) continue;
      rows.push_back(index_.size() + static_cast<Position>(strangers_.size()));
      strangers_.push_back(mailbox);
    }
    return rows;
  }

  // The one place that decides which block stands where. A mailbox is a row once, at its first place.
  // Suggestions that have no block of their own stay where they are sorted, and are marked there.
  void assemble(const std::vector<Position>& suggestions) {
    suggestionsOnTop_ = snapshot_.options.alwaysShowSmartSuggestionsOnTop && query_.matchesEverything() &&
                        !suggestions.empty();
    if (suggestionsOnTop_) addBlock(suggestions);
    const auto favoritesField = snapshot_.options.favoritesNameOnly ? SearchField::name : SearchField::path;
    addBlock(kept(snapshot_.favorites, favoritesField));
    addBlock(kept(snapshot_.recents, field()));
  }

  std::vector<Position> kept(const std::vector<Position>& positions, SearchField field) {
    std::vector<Position> rows;
    for (const Position position : positions) {
      if (!isExcluded(index_.mailbox(position)) && matches(position, field)) rows.push_back(position);
    }
    return rows;
  }

  void addBlock(const std::vector<Position>& block) {
    for (const Position row : block) {
      if (row < index_.size()) {
        if (taken_.contains(row)) continue;
        taken_.add(row);
        rest_.remove(row);
      } else if (std::ranges::find(blocks_, row) != blocks_.end()) {
        continue;
      }
      blocks_.push_back(row);
    }
  }

  template <class Visit>
  void forEachRow(const Visit& visit) const {
    for (const Position row : blocks_) visit(row);
    rest_.forEach(visit);
  }

  // The rows as indices into the list, reordered by account priority.
  MailboxRows::Indices displayIndices() const {
    const auto toIndex = [this](Position row) {
      return row < index_.size() ? index_.listIndex(row)
                                 : static_cast<std::uint32_t>(index_.list().size()) + (row - index_.size());
    };
    MailboxRows::Indices indices(blocks_.size() + rest_.count());
    if (!snapshot_.options.prioritizeAccounts || snapshot_.searchScope.empty()) {
      auto next = indices.begin();
      forEachRow([&](Position row) { *next++ = toIndex(row); });
      return indices;
    }
    // A stable counting sort by the account's place in the scope; other accounts follow.
    const auto& scope = snapshot_.searchScope;
    std::vector<std::uint32_t> placeOf(index_.accountCount(), static_cast<std::uint32_t>(scope.size()));
    for (auto place = static_cast<std::uint32_t>(scope.size()); place-- > 0;) {
      if (const auto number = index_.accountNumber(scope[place])) placeOf[*number] = place;
    }
    const auto place = [&](Position row) {
      if (row < index_.size()) return placeOf[index_.account(row)];
      return static_cast<std::uint32_t>(std::ranges::find(scope, at(row).account) - scope.begin());
    };
    std::vector<std::size_t> next(scope.size() + 2);
    forEachRow([&](Position row) { ++next[place(row) + 1]; });
    for (std::size_t i = 1; i < next.size(); ++i) next[i] += next[i - 1];
    forEachRow([&](Position row) { indices[next[place(row)]++] = toIndex(row); });
    return indices;
  }

  const FilterSnapshot& snapshot_;
  const SearchIndex& index_;
  SearchMemory* memory_;
  const std::atomic<bool>& cancelled_;
  CompiledQuery query_;
  IndexSearch search_;
  AccountScope scope_;
  std::vector<Mailbox> strangers_;
  std::vector<Position> blocks_;
  HitSet taken_{index_.size()};  // the blocks' rows
  HitSet rest_{0};
  bool suggestionsOnTop_ = false;
};

}  // namespace

std::optional<MailboxFilterResult> runFilter(const FilterSnapshot& snapshot, SearchMemory* memory,
                                             const std::atomic<bool>& cancelled) {
  return FilterRun(snapshot, memory, cancelled).result();
}

SelectionDecision decideSelection(const MailboxRows& rows, const SearchIndex& index,
                                  const std::optional<std::string>& selectedMailboxId, FirstRow firstRow) {
  if (rows.empty()) return {.shouldClearSelection = true, .selectedMailboxOverride = std::nullopt};
  if (selectedMailboxId) {
    const auto known = index.find(*selectedMailboxId);
    if (known ? rows.rowOfIndex(index.listIndex(*known)) : rows.rowOf(*selectedMailboxId)) return {};
  }
  if (firstRow == FirstRow::selected)
    return {.shouldClearSelection = false, .selectedMailboxOverride = rows[0].id};
  return {.shouldClearSelection = selectedMailboxId.has_value(), .selectedMailboxOverride = std::nullopt};
}

MailboxMatcher::MailboxMatcher(std::string_view query, CaseMode mode, const FilterOptions& options,
                               std::vector<std::string> searchScope)
    : pattern_(query, mode),
      matcher_(pattern_),
      nameOnly_(options.mailboxNameOnly),
      scope_(options.selectedAccountsOnly ? std::move(searchScope) : std::vector<std::string>()) {}

bool MailboxMatcher::matches(const Mailbox* mailbox) {
  if (mailbox == nullptr) return false;
  if (!scope_.empty() && std::ranges::find(scope_, mailbox->account) == scope_.end()) return false;
  if (pattern_.isEmpty()) return true;
  return matcher_.matches(text::foldDiacritics(nameOnly_ ? mailbox->name : mailbox->path));
}

}  // namespace quillbox
