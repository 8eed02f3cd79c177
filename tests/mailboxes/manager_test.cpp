// The manager's state through typing, lists that arrive, settings that change and time that passes.
#include "mailboxes/manager_fixture.h"

namespace quillbox {
namespace {

using namespace std::chrono_literals;
using Ids = std::vector<std::string>;

class MailboxManagerTest : public ManagerFixture {
 protected:
  // How often the filter applied rows that differ from those before.
  int rowChanges = 0;
  Subscription watch = manager->filteredMailboxes.observe([this](const MailboxRows&) { ++rowChanges; });
};

TEST_F(MailboxManagerTest, TypingRunsTheFilterOnceAfterThePause) {
  deliver({"W/Inbox", "W/Archive", "H/Inbox"});
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/Inbox", "W/Archive", "H/Inbox"}));
  rowChanges = 0;
  for (const auto* text : {"a", "ar", "arc"}) {
    manager->query.set(text);
    dispatch.advance(15ms);
  }
  EXPECT_EQ(manager->debouncedQuery.get(), "");
  dispatch.advance(34ms);
  EXPECT_EQ(rowChanges, 0);
  dispatch.advance(1ms);
  EXPECT_EQ(manager->debouncedQuery.get(), "arc");
  EXPECT_EQ(rowChanges, 1);
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), Ids{"W/Archive"});
  EXPECT_EQ(manager->selectedMailboxId.get(), "W/Archive");
}

TEST_F(MailboxManagerTest, AListIsTakenAtOnceAndLaterOnesOncePerSecond) {
  std::vector<std::size_t> sizes;
  const auto seen =
      manager->allMailboxes.observe([&](const MailboxList& list) { sizes.push_back(list.size()); });
  for (std::size_t n = 1; n <= 3; ++n) {
    notifications.post(notification::shouldReloadWithList,
                       {boxes(Ids(n, "W/x" + std::to_string(n))), true, "test"});
    dispatch.advance(100ms);
  }
  EXPECT_EQ(sizes, (std::vector<std::size_t>{1}));
  dispatch.advance(1s);
  EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 3}));
}

TEST_F(MailboxManagerTest, AnEqualListIsTakenOnlyByForce) {
  deliver({"W/a", "W/b"});
  const auto hash = manager->mailboxesHash();
  const auto list = manager->allMailboxes.get();
  std::vector<std::string> selections;
  manager->selectedMailboxId.set("W/gone");
  notifications.post(notification::shouldReloadWithList, {boxes({"W/a", "W/b"}), false, "same"});
  dispatch.advance(1s);
  EXPECT_EQ(manager->selectedMailboxId.get(), "W/gone");  // no run
  manager->updateTheMailboxList("because");
  dispatch.advance(1s);
  EXPECT_EQ(manager->selectedMailboxId.get(), std::nullopt);  // a run
  EXPECT_EQ(manager->allMailboxes.get(), list);               // nothing was indexed again
  EXPECT_EQ(manager->mailboxesHash(), hash);
  EXPECT_TRUE(log.contains("updateTheMailboxList: because"));
  notifications.post(notification::shouldReloadWithList, {boxes({"W/b", "W/a"}), false, "other"});
  dispatch.advance(1s);
  EXPECT_NE(manager->mailboxesHash(), hash);
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/b", "W/a"}));
}

TEST_F(MailboxManagerTest, AListThatArrivesWhileAFilterRunsWins) {
  deliver({"W/alpha", "W/beta"});
  manager->search("a");  // its run waits on the queue
  notifications.post(notification::shouldReloadWithList, {boxes({"W/gamma"}), true, "test"});
  manager->selectedMailboxId.set("W/beta");
  dispatch.runUntilIdle();
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), Ids{"W/gamma"});
  EXPECT_EQ(manager->selectedMailboxId.get(), "W/gamma");
}

// A list is indexed while a newer one waits for its turn; then the criteria change.
TEST_F(MailboxManagerTest, AnOlderListThatIsReadyLaterDoesNotReplaceTheNewest) {
  notifications.post(notification::shouldReloadWithList, {boxes({"W/old"}), true, "test"});
  dispatch.runBackground();
  notifications.post(notification::shouldReloadWithList, {boxes({"W/new"}), true, "test"});
  bool settled = false;
  manager->whenSettled([&] { settled = true; });
  dispatch.runMain();
  EXPECT_FALSE(settled);
  manager->sortOrder.set({{MailboxSortPathAppEnum::mailbox, SortOrder::reverse}});
  dispatch.runUntilIdle();
  EXPECT_TRUE(settled);
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), Ids{"W/new"});
}

TEST_F(MailboxManagerTest, ASelectionMovedDuringTheRunStays) {
  deliver({"W/a1", "W/a2", "W/a3"});
  manager->search("a");
  dispatch.runBackground();                // the run has decided on the first row
  manager->selectedMailboxId.set("W/a3");  // the user moves on
  dispatch.runUntilIdle();
  EXPECT_EQ(manager->selectedMailboxId.get(), "W/a3");
}

TEST_F(MailboxManagerTest, AResultIsAppliedInItsOrder) {
  deliver({"W/a", "W/b"});
  manager->selectedMailboxId.set("W/b");
  Ids order;
  const auto suggested =
      manager->suggestedMailboxes.observe([&](const auto&) { order.push_back("suggested"); });
  const auto selected = manager->selectedMailboxId.observe(
      [&](const auto& id) { order.push_back(id ? "selected " + *id : "cleared"); });
  const auto rows = manager->filteredMailboxes.observe([&](const auto&) { order.push_back("rows"); });
  manager->apply({.filteredMailboxes = MailboxRows(manager->allMailboxes.get(), {0}),
                  .suggestedMailboxes = boxes({"W/a"}),
                  .shouldClearSelection = true,
                  .selectedMailboxOverride = "W/a",
                  .shouldPostDonePredicting = false});
  EXPECT_EQ(order, (Ids{"suggested", "cleared", "selected W/a", "rows"}));
}

TEST_F(MailboxManagerTest, EverySettingThatTheFilterReadsTakesEffect) {
  deliver({"W/Work/b10", "H/Work/B2", "H/work/a"});
  EXPECT_EQ(rowsFor("WORK").size(), 3U);
  (void)settings.caseSensitive.set(true);
  EXPECT_EQ(rowsFor("Work"), (Ids{"W/Work/b10", "H/Work/B2"}));
  (void)settings.caseSensitive.set(false);
  manager->sortOrder.set({{MailboxSortPathAppEnum::mailbox, SortOrder::forward}});
  EXPECT_EQ(rowsFor("work b"), (Ids{"H/Work/B2", "W/Work/b10"}));
  EXPECT_EQ(settings.sortData.get(), manager->sortOrder.get());
  (void)settings.sortData.set({{MailboxSortPathAppEnum::account, SortOrder::reverse}});
  EXPECT_EQ(rowsFor("work b"), (Ids{"W/Work/b10", "H/Work/B2"}));
  manager->searchScope.set({"H"});
  EXPECT_EQ(settings.searchScope.get(), Ids{"H"});
  (void)settings.prioritizeAccounts.set(true);
  EXPECT_EQ(rowsFor("work b"), (Ids{"H/Work/B2", "W/Work/b10"}));
  (void)settings.selectedAccountsOnly.set(true);
  EXPECT_EQ(rowsFor("work b"), Ids{"H/Work/B2"});
  (void)settings.searchScope.set({});
  EXPECT_EQ(manager->searchScope.get(), Ids{});
  EXPECT_EQ(rowsFor("work b").size(), 2U);
  (void)settings.mailboxNameOnly.set(true);
  EXPECT_EQ(rowsFor("work"), Ids{});
  (void)settings.favoriteMailboxes.set(boxes({"H/Work/B2"}));
  EXPECT_EQ(rowsFor("work"), Ids{"H/Work/B2"});
  (void)settings.favoritesNameOnly.set(true);
  EXPECT_EQ(rowsFor("work"), Ids{});
}

TEST_F(MailboxManagerTest, TheListsOfTheUserShowAtOnce) {
  deliver({"W/a", "W/b", "W/c", "W/d"});
  (void)settings.rememberRecentMailboxes.set(true);
  for (const auto* id : {"W/b", "W/c", "W/nowhere"}) (void)recents.add(box(id));
  (void)favorites.add(box("W/d"));
  dispatch.runUntilIdle();
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/d", "W/c", "W/b", "W/a"}));
  EXPECT_TRUE(manager->isRecent("W/b") && manager->isFavorite("W/d") && !manager->isFavorite("W/b"));
  (void)settings.rememberRecentMailboxes.set(false);
  (void)excluded.add(box("W/c"));
  dispatch.runUntilIdle();
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/d", "W/a", "W/b"}));
  EXPECT_EQ(idsOf(manager->mailboxes.get()), (Ids{"W/a", "W/b", "W/d"}));
  EXPECT_EQ(manager->allMailboxes.get().size(), 4U);
  manager->selectedMailboxId.set("W/a");
  EXPECT_EQ(manager->addToFavorites(), true);
  EXPECT_EQ(manager->addToFavorites(), false);
  EXPECT_EQ(manager->removeFromFavorites(), true);
}

TEST_F(MailboxManagerTest, SuggestionsAreAskedForWithEveryRunWhileTheSettingIsOn) {
  suggestions.answer = boxes({"W/b"});
  manager->setSuggestions(&suggestions);
  deliver({"W/a", "W/b"});
  EXPECT_EQ(suggestions.asked, 0);
  (void)settings.alwaysShowSmartSuggestionsOnTop.set(true);
  (void)settings.useSmartFilingSuggestions.set(true);
  int ended = 0;
  const auto end = notifications.observe<NoObject>({"Quillbox.donePredictingSuggestions"},
                                                   [&](const NoObject&) { ++ended; });
  dispatch.runUntilIdle();
  EXPECT_EQ(suggestions.asked, 1);
  EXPECT_EQ(suggestions.lastLimit, 5U);
  EXPECT_EQ(suggestions.lastThreshold, 0.5);
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/b", "W/a"}));
  EXPECT_EQ(manager->selectedMailboxId.get(), "W/b");
  EXPECT_TRUE(manager->isSuggested("W/b") && manager->isPredicting.get());
  dispatch.advance(99ms);
  EXPECT_EQ(ended, 0);
  dispatch.advance(1ms);
  EXPECT_EQ(ended, 1);
  EXPECT_FALSE(manager->isPredicting.get());
  // The selection in the mail client has changed.
  suggestions.answer.clear();
  notifications.post<NoObject>({"Quillbox.currentExamplesUpdated"});
  dispatch.advance(1s);
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/a", "W/b"}));
}

// Switched off before, while and after a run that asks: the busy sign always ends.
TEST_F(MailboxManagerTest, PredictingEndsWhereverItIsSwitchedOff) {
  deliver({"W/a", "W/b"});
  manager->setSuggestions(&suggestions);
  for (int moment = 0; moment < 6; ++moment) {
    (void)settings.useSmartFilingSuggestions.set(true);
    manager->search("a");
    EXPECT_TRUE(manager->isPredicting.get()) << moment;
    if (moment >= 1) dispatch.runBackground();
    if (moment >= 2) dispatch.runMain();
    if (moment >= 3) dispatch.advance(99ms);
    if (moment == 4) manager->search("b");
    if (moment == 5) dispatch.advance(1ms);
    (void)settings.useSmartFilingSuggestions.set(false);
    if (moment % 2 == 0) manager->search("");
    dispatch.advance(1s);
    EXPECT_FALSE(manager->isPredicting.get()) << moment;
  }
}

TEST_F(MailboxManagerTest, ReloadRequestsOfOneSecondStartOneReload) {
  resources.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  resources.add("Scripts/getMailboxesAsList.scpt", "/res/v1");
  notifications.post(notification::shouldReload, std::string("one"));
  dispatch.advance(500ms);
  notifications.post(notification::shouldReload, std::string("two"));
  dispatch.advance(2s);
  EXPECT_EQ(engine.calls().size(), 1U);
  EXPECT_TRUE(log.contains("Reloading mailboxes: two"));

  (void)settings.useLegacyMailboxRetrieval.set(true);
  status.mailboxesLoadingPercentage().set(0.37);
  notifications.post(notification::shouldForceReload, std::string("forced"));
  dispatch.advance(2s);
  EXPECT_EQ(engine.calls().size(), 1U);  // a load is under way
  deliver({"W/a"});                      // it ends
  dispatch.advance(2s);
  ASSERT_EQ(engine.calls().size(), 2U);
  EXPECT_EQ(engine.calls()[1].text, "/res/v1");
  EXPECT_FALSE(manager->refreshing.get());
}

TEST_F(MailboxManagerTest, TheNumberIsCheckedOnActivationAndEveryMinuteWhileActive) {
  resources.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  deliver({"W/a", "W/b"});
  std::int32_t counted = 2;
  engine.setRule([&](const RecordingScriptEngine::Call& call) -> std::optional<ScriptResult> {
    if (call.text.find("count of mboxes") == std::string::npos) return std::nullopt;
    return ScriptResult(Descriptor::int32(counted));
  });
  const auto counts = [&] { return engine.calls().size(); };
  dispatch.advance(10min);
  EXPECT_EQ(counts(), 0U);
  manager->applicationDidBecomeActive();
  dispatch.advance(1s);
  EXPECT_EQ(counts(), 1U);
  dispatch.advance(119s);
  EXPECT_EQ(counts(), 3U);
  EXPECT_EQ(engine.calls().back().text.find("/res/"), std::string::npos);
  counted = 3;
  dispatch.advance(60s);
  EXPECT_EQ(engine.calls().back().text, "/res/v2");
  deliver({"W/a", "W/b", "W/c"});
  EXPECT_FALSE(manager->refreshing.get());
  // A reload that fails has ended too.
  counted = 4;
  bool wasRefreshing = false;
  const auto seen = manager->refreshing.observe([&](bool is) { wasRefreshing = wasRefreshing || is; });
  engine.setRule([&](const RecordingScriptEngine::Call& call) -> std::optional<ScriptResult> {
    if (call.text.find("count of mboxes") != std::string::npos) return Descriptor::int32(counted);
    return std::unexpected(ScriptError{"no", -600, {}, {}, false});
  });
  dispatch.advance(60s);
  EXPECT_EQ(engine.calls().back().text, "/res/v2");
  EXPECT_TRUE(wasRefreshing);
  EXPECT_FALSE(manager->refreshing.get());
  manager->applicationDidResignActive();
  const auto before = counts();
  dispatch.advance(10min);
  EXPECT_EQ(counts(), before);
  manager->applicationDidBecomeActive();
  (void)settings.automaticallyReloadMailboxes.set(false);
  dispatch.runUntilIdle();
  const auto off = counts();
  dispatch.advance(10min);
  EXPECT_EQ(counts(), off);
}

TEST_F(MailboxManagerTest, TheScopeIsReadThroughTheScriptAndStaysStored) {
  resources.add("Scripts/getAccountScope.scpt", "/res/scope");
  manager->searchScope.set({"Gone", "Home"});
  EXPECT_EQ(settings.searchScope.get(), (Ids{"Gone", "Home"}));
  engine.answer(Descriptor::list({Descriptor::text("Home")}));
  manager->readSearchAccountScope();
  dispatch.runUntilIdle();
  ASSERT_EQ(engine.calls().size(), 1U);
  EXPECT_EQ(engine.calls()[0].handler(), "getAccountScope");
  EXPECT_EQ(engine.calls()[0].arguments(), std::vector<Descriptor>{Descriptor::text("Gone\nHome")});
  EXPECT_EQ(manager->searchScope.get(), Ids{"Home"});
  EXPECT_EQ(settings.searchScope.get(), (Ids{"Gone", "Home"}));
  // A script that fails changes nothing, and neither does an answer to an older question.
  engine.answer(std::unexpected(ScriptError{"no", -600, {}, {}, false}));
  manager->readSearchAccountScope();
  dispatch.runUntilIdle();
  EXPECT_EQ(manager->searchScope.get(), Ids{"Home"});
  engine.answer(Descriptor::list({}));
  manager->readSearchAccountScope();
  manager->searchScope.set({"Work"});
  dispatch.runUntilIdle();
  EXPECT_EQ(manager->searchScope.get(), Ids{"Work"});
}

TEST_F(MailboxManagerTest, BadListsAreTakenAsTheyAre) {
  deliver({"W/a", "W/a", "W/", "/", "W/b"});
  EXPECT_EQ(manager->allMailboxes.get().size(), 5U);  // what the number of the mail client is held against
  EXPECT_EQ(idsOf(manager->filteredMailboxes.get()), (Ids{"W/a", "W/", "/", "W/b"}));
  EXPECT_TRUE(log.contains("id was there before: 1"));
  EXPECT_EQ(rowsFor(std::string(100'000, 'a')), Ids{});
  EXPECT_EQ(rowsFor("b"), Ids{"W/b"});
  deliver({});
  EXPECT_EQ(rowsFor(""), Ids{});
  EXPECT_EQ(manager->selectedMailboxId.get(), std::nullopt);
}

TEST_F(MailboxManagerTest, MayBeDestroyedWhileEverythingIsUnderWay) {
  resources.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  (void)settings.useSmartFilingSuggestions.set(true);
  manager->setSuggestions(&suggestions);
  for (int step = 0; step < 6; ++step) {
    notifications.post(notification::shouldReloadWithList,
                       {boxes({"W/a" + std::to_string(step)}), true, "test"});
    notifications.post(notification::shouldForceReload, std::string("test"));
    manager->query.set("a" + std::to_string(step));
    manager->applicationDidBecomeActive();
    if (step > 0) dispatch.advance(20ms * step);
    if (step > 1) manager->search("b");
    if (step > 2) dispatch.runBackground();
    manager->setSuggestions(&suggestions);
    watch.reset();
    makeManager();
    dispatch.advance(3s);
    EXPECT_EQ(manager->query.get(), "");
  }
}

}  // namespace
}  // namespace quillbox
