// Which rows are shown, in which order, and what becomes of the selection.
#include <gtest/gtest.h>

#include "mailboxes/mailbox_filter.h"

namespace quillbox {
namespace {

Mailbox box(const std::string& id) {
  const auto slash = id.find('/');
  const auto path = id.substr(slash + 1);
  return Mailbox::make(path.substr(path.rfind('/') + 1), path, id.substr(0, slash));
}

std::vector<Mailbox> boxes(const std::vector<std::string>& ids) {
  std::vector<Mailbox> list;
  for (const auto& id : ids) list.push_back(box(id));
  return list;
}

using Ids = std::vector<std::string>;

const Ids kAll{"W/Inbox", "W/Archive", "H/Inbox", "H/Bills/2024", "H/Bills/Inbound", "L/Notes"};

struct Case {
  const char* what;
  Ids list = kAll;
  Ids favorites{};
  Ids recents{};  // newest first
  Ids suggestions{};
  Ids excluded{};
  Ids scope{};
  FilterOptions options{};
  std::string query{};
  const char* selected = nullptr;
  Ids rows{};
  const char* selection = "keep";  // or "clear", or the id that is selected
  Ids suggested{};
};

class Assembly : public testing::TestWithParam<Case> {};

TEST_P(Assembly, Rows) {
  const Case& c = GetParam();
  const auto index = *SearchIndex::build(MailboxList(boxes(c.list)), {}, CaseMode::insensitive);
  const auto positions = [&](const Ids& ids) {
    std::vector<SearchIndex::Position> found;
    for (const auto& id : ids) {
      if (const auto position = index->find(id)) found.push_back(*position);
    }
    return found;
  };
  FilterSnapshot snapshot{.index = index,
                          .query = c.query,
                          .options = c.options,
                          .searchScope = c.scope,
                          .favorites = positions(c.favorites),
                          .recents = positions(c.recents),
                          .excluded = MailboxList(boxes(c.excluded)),
                          .suggestions = boxes(c.suggestions),
                          .askedForSuggestions = !c.suggestions.empty(),
                          .selectedMailboxId = std::nullopt};
  if (c.selected != nullptr) snapshot.selectedMailboxId = c.selected;
  const std::atomic<bool> cancelled = false;
  const auto result = runFilter(snapshot, nullptr, cancelled);
  ASSERT_TRUE(result);
  Ids rows{};
  for (const auto& mailbox : result->filteredMailboxes) rows.push_back(mailbox.id);
  EXPECT_EQ(rows, c.rows);
  Ids suggested;
  for (const auto& mailbox : result->suggestedMailboxes) suggested.push_back(mailbox.id);
  EXPECT_EQ(suggested, c.suggested);
  EXPECT_EQ(result->shouldPostDonePredicting, !c.suggestions.empty());
  const std::string selection = result->selectedMailboxOverride ? *result->selectedMailboxOverride
                                : result->shouldClearSelection  ? "clear"
                                                                : "keep";
  EXPECT_EQ(selection, c.selection);
  EXPECT_FALSE(result->shouldClearSelection && result->selectedMailboxOverride);
}

constexpr FilterOptions kOnTop{.alwaysShowSmartSuggestionsOnTop = true};
constexpr FilterOptions kScoped{.selectedAccountsOnly = true};
constexpr FilterOptions kPriority{.prioritizeAccounts = true};

INSTANTIATE_TEST_SUITE_P(
    Blocks, Assembly,
    testing::Values(
        Case{.what = "everything", .rows = kAll},
        Case{.what = "favourites in their own order, then the rest",
             .favorites = {"L/Notes", "Gone/Away", "H/Inbox"},
             .rows = {"L/Notes", "H/Inbox", "W/Inbox", "W/Archive", "H/Bills/2024", "H/Bills/Inbound"}},
        Case{.what = "recents follow; what is both stands once, at its first place",
             .favorites = {"H/Inbox"},
             .recents = {"H/Bills/2024", "H/Inbox", "W/Archive"},
             .rows = {"H/Inbox", "H/Bills/2024", "W/Archive", "W/Inbox", "H/Bills/Inbound", "L/Notes"}},
        Case{.what = "suggestions on top of favourites and recents, and the first of them is selected",
             .favorites = {"H/Inbox"},
             .recents = {"L/Notes"},
             .suggestions = {"W/Archive", "H/Inbox"},
             .options = kOnTop,
             .rows = {"W/Archive", "H/Inbox", "L/Notes", "W/Inbox", "H/Bills/2024", "H/Bills/Inbound"},
             .selection = "W/Archive",
             .suggested = {"W/Archive", "H/Inbox"}},
        Case{.what = "with a query suggestions keep their sorted place",
             .suggestions = {"H/Inbox", "L/Notes"},
             .options = kOnTop,
             .query = "in",
             .rows = {"W/Inbox", "H/Inbox", "H/Bills/Inbound"},
             .selection = "W/Inbox",
             .suggested = {"H/Inbox"}},
        Case{.what = "without the setting too",
             .suggestions = {"H/Inbox"},
             .rows = kAll,
             .suggested = {"H/Inbox"}},
        Case{.what = "a suggestion that the list does not hold is a row on top",
             .suggestions = {"Old/Box"},
             .options = kOnTop,
             .rows = {"Old/Box", "W/Inbox", "W/Archive", "H/Inbox", "H/Bills/2024", "H/Bills/Inbound",
                      "L/Notes"},
             .selection = "Old/Box",
             .suggested = {"Old/Box"}},
        Case{.what = "excluded mailboxes are never rows, whatever block they are in",
             .favorites = {"H/Inbox", "W/Inbox"},
             .recents = {"W/Archive"},
             .suggestions = {"L/Notes", "Old/Box"},
             .excluded = {"W/Inbox", "W/Archive", "L/Notes", "Old/Box"},
             .options = kOnTop,
             .rows = {"H/Inbox", "H/Bills/2024", "H/Bills/Inbound"}},
        Case{.what = "favourites match on the name alone when they are told to",
             .favorites = {"H/Bills/2024", "H/Bills/Inbound"},
             .options = {.favoritesNameOnly = true},
             .query = "bills",
             .rows = {"H/Bills/2024", "H/Bills/Inbound"},
             .selection = "H/Bills/2024"},
        Case{.what = "their setting takes the place of the other one",
             .favorites = {"H/Bills/2024"},
             .options = {.mailboxNameOnly = true},
             .query = "bills",
             .rows = {"H/Bills/2024"},
             .selection = "H/Bills/2024"},
        Case{.what = "recents and the rest match on the name",
             .recents = {"H/Bills/2024"},
             .options = {.mailboxNameOnly = true},
             .query = "i n",
             .rows = {"W/Inbox", "H/Inbox", "H/Bills/Inbound"},
             .selection = "W/Inbox"}),
    [](const auto& shown) { return "Blocks" + std::to_string(shown.index); });

INSTANTIATE_TEST_SUITE_P(
    Accounts, Assembly,
    testing::Values(
        Case{.what = "a scope restricts the rest, without a query not the lists that the user keeps",
             .favorites = {"W/Archive"},
             .recents = {"L/Notes"},
             .scope = {"H"},
             .options = kScoped,
             .rows = {"W/Archive", "L/Notes", "H/Inbox", "H/Bills/2024", "H/Bills/Inbound"}},
        Case{.what = "with a query these too",
             .favorites = {"W/Inbox"},
             .recents = {"L/Notes", "H/Inbox"},
             .suggestions = {"W/Inbox"},
             .scope = {"H"},
             .options = kScoped,
             .query = "n",
             .rows = {"H/Inbox", "H/Bills/Inbound"},
             .selection = "H/Inbox"},
        Case{.what = "an empty scope restricts nothing", .options = kScoped, .rows = kAll},
        Case{.what = "a scope of accounts that are gone matches nothing",
             .scope = {"Gone"},
             .options = kScoped,
             .query = "n",
             .rows = {},
             .selection = "clear"},
        Case{.what = "without the setting the scope does not restrict", .scope = {"H"}, .rows = kAll},
        Case{.what = "accounts of the scope first, in its order, then the others as they were",
             .scope = {"L", "H"},
             .options = kPriority,
             .rows = {"L/Notes", "H/Inbox", "H/Bills/2024", "H/Bills/Inbound", "W/Inbox", "W/Archive"}},
        Case{.what = "blocks are reordered with the rest",
             .favorites = {"W/Archive", "H/Inbox"},
             .recents = {"L/Notes"},
             .suggestions = {"Old/Box", "H/Bills/2024"},
             .scope = {"H", "Old", "H"},
             .options = {.prioritizeAccounts = true, .alwaysShowSmartSuggestionsOnTop = true},
             .rows = {"H/Bills/2024", "H/Inbox", "H/Bills/Inbound", "Old/Box", "W/Archive", "L/Notes",
                      "W/Inbox"},
             .selection = "H/Bills/2024",
             .suggested = {"Old/Box", "H/Bills/2024"}}),
    [](const auto& shown) { return "Accounts" + std::to_string(shown.index); });

INSTANTIATE_TEST_SUITE_P(
    Selection, Assembly,
    testing::Values(
        Case{.what = "a shown row stays selected",
             .query = "in",
             .selected = "H/Inbox",
             .rows = {"W/Inbox", "H/Inbox", "H/Bills/Inbound"}},
        Case{.what = "a row that is gone gives way to the first one when there is a query",
             .query = "in",
             .selected = "L/Notes",
             .rows = {"W/Inbox", "H/Inbox", "H/Bills/Inbound"},
             .selection = "W/Inbox"},
        Case{.what = "without a query to none", .selected = "Gone/Away", .rows = kAll, .selection = "clear"},
        Case{.what = "no rows", .query = "xyz", .selected = "H/Inbox", .rows = {}, .selection = "clear"},
        Case{.what = "a selected suggestion that the list does not hold stays",
             .suggestions = {"Old/Box"},
             .options = kOnTop,
             .selected = "Old/Box",
             .rows = {"Old/Box", "W/Inbox", "W/Archive", "H/Inbox", "H/Bills/2024", "H/Bills/Inbound",
                      "L/Notes"},
             .suggested = {"Old/Box"}},
        Case{.what = "an empty list", .list = {}, .selected = "H/Inbox", .rows = {}, .selection = "clear"},
        Case{.what = "repeated ids and empty names are rows once",
             .list = {"W/a", "W/a", "/", "W/", "W/a"},
             .favorites = {"W/"},
             .rows = {"W/", "W/a", "/"}},
        Case{.what = "a query that is no pattern",
             .favorites = {"W/Inbox"},
             .suggestions = {"W/Inbox", "Old/Box"},
             .query = "in{",
             .selected = "W/Inbox",
             .rows = {},
             .selection = "clear"}),
    [](const auto& shown) { return "Selection" + std::to_string(shown.index); });

TEST(MailboxMatcher, ItsRuleForOneMailbox) {
  const auto mailbox = box("Home/Work/Inbox");
  struct {
    const char* query;
    FilterOptions options;
    std::vector<std::string> scope;
    bool matches;
  } const cases[] = {
      {"", {}, {}, true},
      {"work", {}, {}, true},
      {"home", {}, {}, false},
      {"work", {.mailboxNameOnly = true}, {}, false},
      {"inbox", {.mailboxNameOnly = true}, {}, true},
      {"", {.selectedAccountsOnly = true}, {"Work"}, false},
      {"", {.selectedAccountsOnly = true}, {"Work", "Home"}, true},
      {"", {.selectedAccountsOnly = true}, {}, true},
      {"", {}, {"Work"}, true},
      {"a{", {}, {}, false},
  };
  for (const auto& c : cases) {
    MailboxMatcher matcher(c.query, CaseMode::insensitive, c.options, c.scope);
    EXPECT_EQ(matcher.matches(&mailbox), c.matches) << c.query;
    EXPECT_FALSE(matcher.matches(nullptr));
  }
}

}  // namespace
}  // namespace quillbox
