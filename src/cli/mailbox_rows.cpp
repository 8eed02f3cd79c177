#include "cli/mailbox_rows.h"

#include <algorithm>
#include <atomic>

namespace quillbox::cli {
namespace {

// Where the mailboxes of a stored list stand in the index; those that are gone are left out.
std::vector<SearchIndex::Position> positionsOf(const std::vector<Mailbox>& stored, const SearchIndex& index) {
  std::vector<SearchIndex::Position> positions;
  for (const auto& mailbox : stored) {
    if (const auto position = index.find(mailbox.id)) positions.push_back(*position);
  }
  return positions;
}

}  // namespace

void MailboxSearch::setList(MailboxList list) {
  list_ = std::move(list);
  index_.reset();
}

Result<void> MailboxSearch::prepareIndex() {
  const auto mode = settings_.caseSensitive.get() ? CaseMode::sensitive : CaseMode::insensitive;
  if (index_ && index_->caseMode() == mode && criteria_ == settings_.sortData.get()) return {};
  auto index = SearchIndex::build(list_, settings_.sortData.get(), mode);
  if (!index) return forward(index);
  index_ = std::move(*index);
  criteria_ = settings_.sortData.get();
  memory_ = {};
  return {};
}

Result<MailboxFilterResult> MailboxSearch::run(std::string_view query) {
  if (auto ready = prepareIndex(); !ready) return forward(ready);
  FilterSnapshot snapshot;
  snapshot.index = index_;
  snapshot.query = query;
  snapshot.options = {.mailboxNameOnly = settings_.mailboxNameOnly.get(),
                      .favoritesNameOnly = settings_.favoritesNameOnly.get(),
                      .selectedAccountsOnly = settings_.selectedAccountsOnly.get(),
                      .prioritizeAccounts = settings_.prioritizeAccounts.get(),
                      .alwaysShowSmartSuggestionsOnTop = settings_.alwaysShowSmartSuggestionsOnTop.get()};
  snapshot.searchScope = settings_.searchScope.get();
  snapshot.favorites = positionsOf(settings_.favoriteMailboxes.get(), *index_);
  if (settings_.rememberRecentMailboxes.get()) {
    snapshot.recents = positionsOf(settings_.recentMailboxes.get(), *index_);
    std::reverse(snapshot.recents.begin(), snapshot.recents.end());
  }
  snapshot.excluded = MailboxList(settings_.excludedMailboxes.get());
  static const std::atomic<bool> never = false;
  auto result = runFilter(snapshot, &memory_, never);
  if (!result) fatal("a filter run that nobody cancelled ended early");
  return std::move(*result);
}

}  // namespace quillbox::cli
