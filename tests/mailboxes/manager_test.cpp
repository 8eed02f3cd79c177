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
  Subscription watch = manager_->filteredMailboxes.observe([this](const MailboxRows&) { ++rowChanges; });
};

TEST_F(MailboxManagerTest, TypingRunsTheFilterOnceAfterThePause) {
  deliver({"W/Inbox", "W/Archive", "H/Inbox"});
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/Inbox", "W/Archive", "H/Inbox"}));
  rowChanges = 0;
  for (const auto* text : {"a", "ar", "arc"}) {
    manager_->query.set(text);
    dispatch_.advance(15ms);
  }
  EXPECT_EQ(manager_->debouncedQuery.get(), "");
  dispatch_.advance(34ms);
  EXPECT_EQ(rowChanges, 0);
  dispatch_.advance(1ms);
  EXPECT_EQ(manager_->debouncedQuery.get(), "arc");
  EXPECT_EQ(rowChanges, 1);
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), Ids{"W/Archive"});
  EXPECT_EQ(manager_->selectedMailboxId.get(), "W/Archive");
}

TEST_F(MailboxManagerTest, AListIsTakenAtOnceAndLaterOnesOncePerSecond) {
  std::vector<std::size_t> sizes;
  const auto seen =
      manager_->allMailboxes.observe([&](const MailboxList& list) { sizes.push_back(list.size()); });
  for (std::size_t n = 1; n <= 3; ++n) {
    notifications_.post(notification::shouldReloadWithList,
                        {boxes(Ids(n, "W/x" + std::to_string(n))), true, "test"});
    dispatch_.advance(100ms);
  }
  EXPECT_EQ(sizes, (std::vector<std::size_t>{1}));
  dispatch_.advance(1s);
  EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 3}));
}

TEST_F(MailboxManagerTest, AnEqualListIsTakenOnlyByForce) {
  deliver({"W/a", "W/b"});
  const auto hash = manager_->mailboxesHash();
  const auto list = manager_->allMailboxes.get();
  std::vector<std::string> selections;
  manager_->selectedMailboxId.set("W/gone");
  notifications_.post(notification::shouldReloadWithList, {boxes({"W/a", "W/b"}), false, "same"});
  dispatch_.advance(1s);
  EXPECT_EQ(manager_->selectedMailboxId.get(), "W/gone");  // no run
  manager_->updateTheMailboxList("because");
  dispatch_.advance(1s);
  EXPECT_EQ(manager_->selectedMailboxId.get(), std::nullopt);  // a run
  EXPECT_EQ(manager_->allMailboxes.get(), list);               // nothing was indexed again
  EXPECT_EQ(manager_->mailboxesHash(), hash);
  EXPECT_TRUE(log_.contains("updateTheMailboxList: because"));
  notifications_.post(notification::shouldReloadWithList, {boxes({"W/b", "W/a"}), false, "other"});
  dispatch_.advance(1s);
  EXPECT_NE(manager_->mailboxesHash(), hash);
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/b", "W/a"}));
}

TEST_F(MailboxManagerTest, AListThatArrivesWhileAFilterRunsWins) {
  deliver({"W/alpha", "W/beta"});
  manager_->search("a");  // its run waits on the queue
  notifications_.post(notification::shouldReloadWithList, {boxes({"W/gamma"}), true, "test"});
  manager_->selectedMailboxId.set("W/beta");
  dispatch_.runUntilIdle();
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), Ids{"W/gamma"});
  EXPECT_EQ(manager_->selectedMailboxId.get(), "W/gamma");
}

// A list is indexed while a newer one waits for its turn; then the criteria change.
TEST_F(MailboxManagerTest, AnOlderListThatIsReadyLaterDoesNotReplaceTheNewest) {
  notifications_.post(notification::shouldReloadWithList, {boxes({"W/old"}), true, "test"});
  dispatch_.runBackground();
  notifications_.post(notification::shouldReloadWithList, {boxes({"W/new"}), true, "test"});
  bool settled = false;
  manager_->whenSettled([&] { settled = true; });
  dispatch_.runMain();
  EXPECT_FALSE(settled);
  manager_->sortOrder.set({{MailboxSortPathAppEnum::mailbox, SortOrder::reverse}});
  dispatch_.runUntilIdle();
  EXPECT_TRUE(settled);
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), Ids{"W/new"});
}

TEST_F(MailboxManagerTest, ASelectionMovedDuringTheRunStays) {
  deliver({"W/a1", "W/a2", "W/a3"});
  manager_->search("a");
  dispatch_.runBackground();                // the run has decided on the first row
  manager_->selectedMailboxId.set("W/a3");  // the user moves on
  dispatch_.runUntilIdle();
  EXPECT_EQ(manager_->selectedMailboxId.get(), "W/a3");
}

TEST_F(MailboxManagerTest, AResultIsAppliedInItsOrder) {
  deliver({"W/a", "W/b"});
  manager_->selectedMailboxId.set("W/b");
  Ids order;
  const auto suggested =
      manager_->suggestedMailboxes.observe([&](const auto&) { order.push_back("suggested"); });
  const auto selected = manager_->selectedMailboxId.observe(
      [&](const auto& id) { order.push_back(id ? "selected " + *id : "cleared"); });
  const auto rows = manager_->filteredMailboxes.observe([&](const auto&) { order.push_back("rows"); });
  manager_->apply({.filteredMailboxes = MailboxRows(manager_->allMailboxes.get(), {0}),
                   .suggestedMailboxes = boxes({"W/a"}),
                   .shouldClearSelection = true,
                   .selectedMailboxOverride = "W/a",
                   .shouldPostDonePredicting = false});
  EXPECT_EQ(order, (Ids{"suggested", "cleared", "selected W/a", "rows"}));
}

TEST_F(MailboxManagerTest, EverySettingThatTheFilterReadsTakesEffect) {
  deliver({"W/Bill/b10", "H/Bill/B2", "H/bill/a"});
  EXPECT_EQ(rowsFor("BILL").size(), 3U);
  (void)settings_.caseSensitive.set(true);
  EXPECT_EQ(rowsFor("Bill"), (Ids{"W/Bill/b10", "H/Bill/B2"}));
  (void)settings_.caseSensitive.set(false);
  manager_->sortOrder.set({{MailboxSortPathAppEnum::mailbox, SortOrder::forward}});
  EXPECT_EQ(rowsFor("bill b"), (Ids{"H/Bill/B2", "W/Bill/b10"}));
  EXPECT_EQ(settings_.sortData.get(), manager_->sortOrder.get());
  (void)settings_.sortData.set({{MailboxSortPathAppEnum::account, SortOrder::reverse}});
  EXPECT_EQ(rowsFor("bill b"), (Ids{"W/Bill/b10", "H/Bill/B2"}));
  manager_->searchScope.set({"H"});
  EXPECT_EQ(settings_.searchScope.get(), Ids{"H"});
  (void)settings_.prioritizeAccounts.set(true);
  EXPECT_EQ(rowsFor("bill b"), (Ids{"H/Bill/B2", "W/Bill/b10"}));
  (void)settings_.selectedAccountsOnly.set(true);
  EXPECT_EQ(rowsFor("bill b"), Ids{"H/Bill/B2"});
  (void)settings_.searchScope.set({});
  EXPECT_EQ(manager_->searchScope.get(), Ids{});
  EXPECT_EQ(rowsFor("bill b").size(), 2U);
  (void)settings_.mailboxNameOnly.set(true);
  EXPECT_EQ(rowsFor("bill"), Ids{});
  (void)settings_.favoriteMailboxes.set(boxes({"H/Bill/B2"}));
  EXPECT_EQ(rowsFor("bill"), Ids{"H/Bill/B2"});
  (void)settings_.favoritesNameOnly.set(true);
  EXPECT_EQ(rowsFor("bill"), Ids{});
}

TEST_F(MailboxManagerTest, TheListsOfTheUserShowAtOnce) {
  deliver({"W/a", "W/b", "W/c", "W/d"});
  (void)settings_.rememberRecentMailboxes.set(true);
  for (const auto* id : {"W/b", "W/c", "W/nowhere"}) (void)recents_.add(box(id));
  (void)favorites_.add(box("W/d"));
  dispatch_.runUntilIdle();
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/d", "W/c", "W/b", "W/a"}));
  EXPECT_TRUE(manager_->isRecent("W/b") && manager_->isFavorite("W/d") && !manager_->isFavorite("W/b"));
  (void)settings_.rememberRecentMailboxes.set(false);
  (void)excluded_.add(box("W/c"));
  dispatch_.runUntilIdle();
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/d", "W/a", "W/b"}));
  EXPECT_EQ(idsOf(manager_->mailboxes.get()), (Ids{"W/a", "W/b", "W/d"}));
  EXPECT_EQ(manager_->allMailboxes.get().size(), 4U);
  manager_->selectedMailboxId.set("W/a");
  EXPECT_EQ(manager_->addToFavorites(), true);
  EXPECT_EQ(manager_->addToFavorites(), false);
  EXPECT_EQ(manager_->removeFromFavorites(), true);
}

TEST_F(MailboxManagerTest, SuggestionsAreAskedForWithEveryRunWhileTheSettingIsOn) {
  suggestions_.answer = boxes({"W/b"});
  manager_->setSuggestions(&suggestions_);
  deliver({"W/a", "W/b"});
  EXPECT_EQ(suggestions_.asked, 0);
  (void)settings_.alwaysShowSmartSuggestionsOnTop.set(true);
  (void)settings_.useSmartFilingSuggestions.set(true);
  int ended = 0;
  const auto end = notifications_.observe<NoObject>({"Quillbox.donePredictingSuggestions"},
                                                    [&](const NoObject&) { ++ended; });
  dispatch_.runUntilIdle();
  EXPECT_EQ(suggestions_.asked, 1);
  EXPECT_EQ(suggestions_.lastLimit, 5U);
  EXPECT_EQ(suggestions_.lastThreshold, 0.5);
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/b", "W/a"}));
  EXPECT_EQ(manager_->selectedMailboxId.get(), "W/b");
  EXPECT_TRUE(manager_->isSuggested("W/b") && manager_->isPredicting.get());
  dispatch_.advance(99ms);
  EXPECT_EQ(ended, 0);
  dispatch_.advance(1ms);
  EXPECT_EQ(ended, 1);
  EXPECT_FALSE(manager_->isPredicting.get());
  // The selection in the mail client has changed.
  suggestions_.answer.clear();
  notifications_.post<NoObject>({"Quillbox.currentExamplesUpdated"});
  dispatch_.advance(1s);
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/a", "W/b"}));
}

// Switched off before, while and after a run that asks: the busy sign always ends.
TEST_F(MailboxManagerTest, PredictingEndsWhereverItIsSwitchedOff) {
  deliver({"W/a", "W/b"});
  manager_->setSuggestions(&suggestions_);
  for (int moment = 0; moment < 6; ++moment) {
    (void)settings_.useSmartFilingSuggestions.set(true);
    manager_->search("a");
    EXPECT_TRUE(manager_->isPredicting.get()) << moment;
    if (moment >= 1) dispatch_.runBackground();
    if (moment >= 2) dispatch_.runMain();
    if (moment >= 3) dispatch_.advance(99ms);
    if (moment == 4) manager_->search("b");
    if (moment == 5) dispatch_.advance(1ms);
    (void)settings_.useSmartFilingSuggestions.set(false);
    if (moment % 2 == 0) manager_->search("");
    dispatch_.advance(1s);
    EXPECT_FALSE(manager_->isPredicting.get()) << moment;
  }
}

TEST_F(MailboxManagerTest, ReloadRequestsOfOneSecondStartOneReload) {
  resources_.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  resources_.add("Scripts/getMailboxesAsList.scpt", "/res/v1");
  notifications_.post(notification::shouldReload, std::string("one"));
  dispatch_.advance(500ms);
  notifications_.post(notification::shouldReload, std::string("two"));
  dispatch_.advance(2s);
  EXPECT_EQ(engine_.calls().size(), 1U);
  EXPECT_TRUE(log_.contains("Reloading mailboxes: two"));

  (void)settings_.useLegacyMailboxRetrieval.set(true);
  status_.mailboxesLoadingPercentage().set(0.37);
  notifications_.post(notification::shouldForceReload, std::string("forced"));
  dispatch_.advance(2s);
  EXPECT_EQ(engine_.calls().size(), 1U);  // a load is under way
  deliver({"W/a"});                       // it ends
  dispatch_.advance(2s);
  ASSERT_EQ(engine_.calls().size(), 2U);
  EXPECT_EQ(engine_.calls()[1].text, "/res/v1");
  EXPECT_FALSE(manager_->refreshing.get());
}

TEST_F(MailboxManagerTest, TheNumberIsCheckedOnActivationAndEveryMinuteWhileActive) {
  resources_.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  deliver({"W/a", "W/b"});
  std::int32_t counted = 2;
  engine_.setRule([&](const RecordingScriptEngine::Call& call) -> std::optional<ScriptResult> {
    if (call.text.find("count of mboxes") == std::string::npos) return std::nullopt;
    return ScriptResult(Descriptor::int32(counted));
  });
  const auto counts = [&] { return engine_.calls().size(); };
  dispatch_.advance(10min);
  EXPECT_EQ(counts(), 0U);
  manager_->applicationDidBecomeActive();
  dispatch_.advance(1s);
  EXPECT_EQ(counts(), 1U);
  dispatch_.advance(119s);
  EXPECT_EQ(counts(), 3U);
  EXPECT_EQ(engine_.calls().back().text.find("/res/"), std::string::npos);
  counted = 3;
  dispatch_.advance(60s);
  EXPECT_EQ(engine_.calls().back().text, "/res/v2");
  deliver({"W/a", "W/b", "W/c"});
  EXPECT_FALSE(manager_->refreshing.get());
  // A reload that fails has ended too.
  counted = 4;
  bool wasRefreshing = false;
  const auto seen = manager_->refreshing.observe([&](bool is) { wasRefreshing = wasRefreshing || is; });
  engine_.setRule([&](const RecordingScriptEngine::Call& call) -> std::optional<ScriptResult> {
    if (call.text.find("count of mboxes") != std::string::npos) return Descriptor::int32(counted);
    return std::unexpected(ScriptError{"no", -600, {}, {}, false});
  });
  dispatch_.advance(60s);
  EXPECT_EQ(engine_.calls().back().text, "/res/v2");
  EXPECT_TRUE(wasRefreshing);
  EXPECT_FALSE(manager_->refreshing.get());
  manager_->applicationDidResignActive();
  const auto before = counts();
  dispatch_.advance(10min);
  EXPECT_EQ(counts(), before);
  manager_->applicationDidBecomeActive();
  (void)settings_.automaticallyReloadMailboxes.set(false);
  dispatch_.runUntilIdle();
  const auto off = counts();
  dispatch_.advance(10min);
  EXPECT_EQ(counts(), off);
}

TEST_F(MailboxManagerTest, TheScopeIsReadThroughTheScriptAndStaysStored) {
  resources_.add("Scripts/getAccountScope.scpt", "/res/scope");
  manager_->searchScope.set({"Gone", "Home"});
  EXPECT_EQ(settings_.searchScope.get(), (Ids{"Gone", "Home"}));
  engine_.answer(Descriptor::list({Descriptor::text("Home")}));
  manager_->readSearchAccountScope();
  dispatch_.runUntilIdle();
  ASSERT_EQ(engine_.calls().size(), 1U);
  EXPECT_EQ(engine_.calls()[0].handler(), "getAccountScope");
  EXPECT_EQ(engine_.calls()[0].arguments(), std::vector<Descriptor>{Descriptor::text("Gone\nHome")});
  EXPECT_EQ(manager_->searchScope.get(), Ids{"Home"});
  EXPECT_EQ(settings_.searchScope.get(), (Ids{"Gone", "Home"}));
  // A script that fails changes nothing, and neither does an answer to an older question.
  engine_.answer(std::unexpected(ScriptError{"no", -600, {}, {}, false}));
  manager_->readSearchAccountScope();
  dispatch_.runUntilIdle();
  EXPECT_EQ(manager_->searchScope.get(), Ids{"Home"});
  engine_.answer(Descriptor::list({}));
  manager_->readSearchAccountScope();
  manager_->searchScope.set({"Work"});
  dispatch_.runUntilIdle();
  EXPECT_EQ(manager_->searchScope.get(), Ids{"Work"});
}

TEST_F(MailboxManagerTest, BadListsAreTakenAsTheyAre) {
  deliver({"W/a", "W/a", "W/", "/", "W/b"});
  EXPECT_EQ(manager_->allMailboxes.get().size(), 5U);  // what the number of the mail client is held against
  EXPECT_EQ(idsOf(manager_->filteredMailboxes.get()), (Ids{"W/a", "W/", "/", "W/b"}));
  EXPECT_TRUE(log_.contains("id was there before: 1"));
  EXPECT_EQ(rowsFor(std::string(100'000, 'a')), Ids{});
  EXPECT_EQ(rowsFor("b"), Ids{"W/b"});
  deliver({});
  EXPECT_EQ(rowsFor(""), Ids{});
  EXPECT_EQ(manager_->selectedMailboxId.get(), std::nullopt);
}

TEST_F(MailboxManagerTest, MayBeDestroyedWhileEverythingIsUnderWay) {
  resources_.add("Scripts/getMailboxesAsListV2.scpt", "/res/v2");
  (void)settings_.useSmartFilingSuggestions.set(true);
  manager_->setSuggestions(&suggestions_);
  for (int step = 0; step < 6; ++step) {
    notifications_.post(notification::shouldReloadWithList,
                        {boxes({"W/a" + std::to_string(step)}), true, "test"});
    notifications_.post(notification::shouldForceReload, std::string("test"));
    manager_->query.set("a" + std::to_string(step));
    manager_->applicationDidBecomeActive();
    if (step > 0) dispatch_.advance(20ms * step);
    if (step > 1) manager_->search("b");
    if (step > 2) dispatch_.runBackground();
    manager_->setSuggestions(&suggestions_);
    watch.reset();
    makeManager();
    dispatch_.advance(3s);
    EXPECT_EQ(manager_->query.get(), "");
  }
}

}  // namespace
}  // namespace quillbox
