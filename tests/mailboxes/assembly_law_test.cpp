// Whole runs over random snapshots, against the rules taken one step after the other and one expression a
// candidate.
#include <algorithm>
#include <iterator>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "base/text.h"
#include "mailboxes/mailbox_filter.h"
#include "mailboxes/plain_search.h"
#include "mailboxes/search_generators.h"

namespace quillbox {
namespace {

using Boxes = std::vector<Mailbox>;

bool holds(const Boxes& boxes, const std::string& id) {
  return std::ranges::find(boxes, id, &Mailbox::id) != boxes.end();
}

// By insertion; what is equal stays as it was.
template <class Less>
void sortStably(Boxes& boxes, const Less& less) {
  for (auto next = boxes.begin(); next != boxes.end(); ++next)
    std::rotate(std::upper_bound(boxes.begin(), next, *next, less), next, std::next(next));
}

// What a run is given, before anything is indexed.
struct Given {
  Boxes list;
  Boxes favorites;
  Boxes recents;  // oldest first, as they are stored
  Boxes excluded;
  Boxes suggestions;
  std::vector<std::string> scope;
  std::vector<MailboxSort> sorts;
  FilterOptions options;
  CaseMode mode = CaseMode::insensitive;
  std::optional<std::string> selected;
};

struct Expected {
  Boxes rows;
  Boxes suggested;
  SelectionDecision selection;
};

// The rules, plainly. Nothing when the query is one of those that the search may give up.
std::optional<Expected> plainRun(const Given& given, const std::string& query) {
  const PlainSearch pattern(query, given.mode);
  const bool isEmpty = QueryPattern(query, given.mode).isEmpty();
  const auto inScope = [&](const Mailbox& mailbox) {
    return !given.options.selectedAccountsOnly || given.scope.empty() ||
           std::ranges::find(given.scope, mailbox.account) != given.scope.end();
  };
  bool isDecided = true;
  const auto matches = [&](const Mailbox& mailbox, bool nameOnly) {
    const auto matched = pattern.matches(nameOnly ? mailbox.name : mailbox.path);
    isDecided = isDecided && matched;
    return matched.value_or(false) && inScope(mailbox);
  };
  const auto keep = [&](const Boxes& boxes, bool nameOnly) {
    Boxes kept;
    for (const auto& mailbox : boxes) {
      if (!holds(given.excluded, mailbox.id) && (isEmpty || matches(mailbox, nameOnly)))
        kept.push_back(mailbox);
    }
    return kept;
  };
  // Of mailboxes with one id the first counts.
  Boxes known;
  for (const auto& mailbox : given.list) {
    if (!holds(known, mailbox.id)) known.push_back(mailbox);
  }
  const auto prepared = [&](const Boxes& own) {
    Boxes entries;
    for (const auto& mailbox : own) {
      const auto found = std::ranges::find(known, mailbox.id, &Mailbox::id);
      if (found != known.end()) entries.push_back(*found);
    }
    return entries;
  };

  const bool nameOnly = given.options.mailboxNameOnly;
  auto recents = prepared(given.recents);
  std::ranges::reverse(recents);
  Boxes suggestions;
  for (const auto& mailbox : given.suggestions) {
    const auto found = std::ranges::find(known, mailbox.id, &Mailbox::id);
    suggestions.push_back(found == known.end() ? mailbox : *found);
  }
  suggestions = keep(suggestions, nameOnly);
  Boxes rest;
  for (const auto& mailbox : known) {
    if (!holds(given.excluded, mailbox.id) && matches(mailbox, nameOnly)) rest.push_back(mailbox);
  }
  sortStably(rest, [&](const Mailbox& a, const Mailbox& b) {
    for (const auto& sort : given.sorts) {
      const bool byPath = sort.path == MailboxSortPathAppEnum::mailbox;
      const int order = text::collationKey(byPath ? a.path : a.account)
                            .compare(text::collationKey(byPath ? b.path : b.account));
      if (order != 0) return sort.order == SortOrder::forward ? order < 0 : order > 0;
    }
    return false;
  });

  const bool onTop = given.options.alwaysShowSmartSuggestionsOnTop && isEmpty;
  Expected expected;
  expected.suggested = suggestions;
  for (const auto& block :
       {onTop ? suggestions : Boxes(), keep(prepared(given.favorites), given.options.favoritesNameOnly),
        keep(recents, nameOnly), rest}) {
    for (const auto& mailbox : block) {
      if (!holds(expected.rows, mailbox.id)) expected.rows.push_back(mailbox);
    }
  }
  if (given.options.prioritizeAccounts && !given.scope.empty()) {
    const auto placeOf = [&](const Mailbox& mailbox) {
      const auto place = std::ranges::find(given.scope, mailbox.account);
      return place == given.scope.end() ? std::numeric_limits<std::ptrdiff_t>::max()
                                        : place - given.scope.begin();
    };
    sortStably(expected.rows, [&](const Mailbox& a, const Mailbox& b) { return placeOf(a) < placeOf(b); });
  }
  const bool stays = given.selected && holds(expected.rows, *given.selected);
  if (!stays && !expected.rows.empty() && (!isEmpty || (onTop && !suggestions.empty()))) {
    expected.selection.selectedMailboxOverride = expected.rows.front().id;
  } else if (!stays) {
    expected.selection.shouldClearSelection = given.selected.has_value() || expected.rows.empty();
  }
  return isDecided ? std::optional(expected) : std::nullopt;
}

// Some of the list, and some that it does not hold; each id once, as the lists of the user have it.
Boxes someOf(const Boxes& list) {
  Boxes some;
  for (const auto& other : *rc::gen::resize(4, rc::gen::container<Boxes>(genMailbox(Names::any)))) {
    const bool known = !list.empty() && *rc::gen::inRange(0, 4) != 0;
    const auto mailbox = known ? *rc::gen::elementOf(list) : other;
    if (!holds(some, mailbox.id)) some.push_back(mailbox);
  }
  return some;
}

FilterOptions someOptions() {
  const auto flip = [] { return *rc::gen::arbitrary<bool>(); };
  return {.mailboxNameOnly = flip(),
          .favoritesNameOnly = flip(),
          .selectedAccountsOnly = flip(),
          .prioritizeAccounts = flip(),
          .alwaysShowSmartSuggestionsOnTop = flip()};
}

Given someGiven() {
  const auto accounts = rc::gen::elementOf(std::vector<std::string>{"Work", "Home", "On My Mac", "Nowhere"});
  Given given;
  given.list = *genMailboxes();
  given.favorites = someOf(given.list);
  given.recents = someOf(given.list);
  given.excluded = someOf(given.list);
  given.suggestions = someOf(given.list);
  given.scope = *rc::gen::resize(3, rc::gen::container<std::vector<std::string>>(accounts));
  for (int i = *rc::gen::inRange(0, 3); i > 0; --i) {
    given.sorts.push_back(
        {*rc::gen::element(MailboxSortPathAppEnum::mailbox, MailboxSortPathAppEnum::account),
         *rc::gen::element(SortOrder::forward, SortOrder::reverse)});
  }
  given.mode = *rc::gen::element(CaseMode::insensitive, CaseMode::sensitive);
  if (!given.list.empty() && *rc::gen::arbitrary<bool>())
    given.selected = (*rc::gen::elementOf(given.list)).id;
  return given;
}

RC_GTEST_PROP(AssemblyLaw, ARunGivesWhatTheRulesGiveOneByOne, ()) {
  Given given = someGiven();
  const auto index = *SearchIndex::build(MailboxList(given.list), given.sorts, given.mode);
  const auto positions = [&](const Boxes& boxes) {
    std::vector<SearchIndex::Position> found;
    for (const auto& mailbox : boxes) {
      if (const auto position = index->find(mailbox.id)) found.push_back(*position);
    }
    return found;
  };
  auto recents = positions(given.recents);
  std::ranges::reverse(recents);
  SearchMemory memory;
  const std::atomic<bool> goOn = false;
  std::string query;
  // Typed one after the other, from nothing.
  for (int round = 0; round < 12; ++round) {
    given.options = someOptions();
    const FilterSnapshot snapshot{.index = index,
                                  .query = query,
                                  .options = given.options,
                                  .searchScope = given.scope,
                                  .favorites = positions(given.favorites),
                                  .recents = recents,
                                  .excluded = MailboxList(given.excluded),
                                  .suggestions = given.suggestions,
                                  .askedForSuggestions = round % 2 == 0,
                                  .selectedMailboxId = given.selected};
    const auto result = runFilter(snapshot, &memory, goOn);
    RC_ASSERT(result.has_value());
    if (const auto expected = plainRun(given, query)) {
      RC_ASSERT(Boxes(result->filteredMailboxes.begin(), result->filteredMailboxes.end()) == expected->rows);
      RC_ASSERT(result->suggestedMailboxes == expected->suggested);
      RC_ASSERT(result->shouldClearSelection == expected->selection.shouldClearSelection);
      RC_ASSERT(result->selectedMailboxOverride == expected->selection.selectedMailboxOverride);
      RC_ASSERT(result->shouldPostDonePredicting == snapshot.askedForSuggestions);
    }
    const bool fromList = !given.list.empty() && *rc::gen::arbitrary<bool>();
    query = fromList ? queryWithin((*rc::gen::elementOf(given.list)).path) : query + *genPiece();
  }
}

}  // namespace
}  // namespace quillbox
