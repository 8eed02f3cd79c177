// The laws of the merge itself, and every short history of two machines.
#include <algorithm>
#include <compare>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "support/sanitized.h"
#include "sync/favorite_mailbox_sync_state.h"
#include "sync/machines.h"
#include "sync/sync_state_codec.h"

namespace quillbox {
namespace {

using State = FavoriteMailboxSyncState;
using synctest::box;
using synctest::contradiction;
using synctest::Edit;

// Ties of every kind are likely: few ids, counters, writers and names. Distinct names tell the values of one
// id apart, as they do for mailboxes of real accounts.
rc::Gen<State> states() {
  return rc::gen::exec([] {
    const std::vector<std::string> writers{"", "A", "B", "é", "\xF0\x9F\x93\xAB"};
    const auto revision = [&] {
      return State::Revision{*rc::gen::inRange<std::int64_t>(-1, 4), *rc::gen::elementOf(writers)};
    };
    State state;
    for (const std::string id : {"a", "b", "c"}) {
      if (*rc::gen::inRange(0, 4) == 0) continue;
      const auto name = *rc::gen::elementOf(std::vector<std::string>{"x", "y"});
      const auto mailbox = Mailbox::make(name, id, "Work");
      state.entries[mailbox.id] = {mailbox, *rc::gen::arbitrary<bool>(), revision()};
    }
    state.order = *rc::gen::container<std::vector<std::string>>(
        rc::gen::elementOf(std::vector<std::string>{"Work/a", "Work/b", "Work/c", "Work/d"}));
    state.orderRevision = revision();
    state.orderRevision.counter = std::max<std::int64_t>(0, state.orderRevision.counter);
    return state;
  });
}

State merged(State local, const State& remote) {
  local.merge(remote);
  return local;
}

void checkTheLawsOnce() {
  const auto a = *states();
  const auto b = *states();
  const auto c = *states();
  RC_ASSERT(merged(a, b) == merged(b, a));
  RC_ASSERT(merged(merged(a, b), c) == merged(a, merged(b, c)));
  RC_ASSERT(merged(a, a) == a);
  RC_ASSERT(merged(merged(a, b), b) == merged(a, b));
  RC_ASSERT(encodeSyncState(merged(a, b)) == encodeSyncState(merged(b, a)));
}

// What makes machines converge: every local change only moves a state up in the order that merging joins.
void changeOnce() {
  const auto before = *states();
  auto after = before;
  std::vector<Mailbox> list;
  for (const std::string path : {"b", "a", "d", "c"}) {
    if (*rc::gen::arbitrary<bool>()) list.push_back(box(path));
  }
  const bool isSeeding = *rc::gen::arbitrary<bool>();
  if (isSeeding) {
    after.seed(list);
    auto again = after;
    again.seed(list);
    RC_ASSERT(again == after);
  } else {
    after.recordEdit(list, before.visibleList(), "M");
    RC_ASSERT(after.visibleList() == list);
  }
  RC_ASSERT(merged(after, before) == after);
  RC_ASSERT(merged(before, after) == after);
}

// Many small cases, where rapidcheck's own choice is a hundred.
void checkOften(void (*property)()) {
  auto params = rc::detail::configuration().testParams;
  params.maxSuccess = kSanitized ? 500 : 5000;
  const auto result = rc::detail::checkTestable(property, rc::detail::TestMetadata(), params);
  std::ostringstream message;
  rc::detail::printResultMessage(result, message);
  EXPECT_TRUE(result.is<rc::detail::SuccessResult>()) << "seed " << params.seed << ": " << message.str();
}

TEST(FavoriteMailboxSyncState, MergeIsCommutativeAssociativeAndIdempotent) {
  checkOften(checkTheLawsOnce);
}

TEST(FavoriteMailboxSyncState, LocalChangesAreNeverUndoneByAnOlderState) {
  checkOften(changeOnce);
}

// The one kind of pair for which the laws hold only up to the tie-break: one id, made of different accounts
// and paths, with one revision and one name. Each machine keeps its own; neither the id nor the name differs.
TEST(FavoriteMailboxSyncState, OneIdFromTwoAccountsKeepsTheLocalEntry) {
  State a;
  State b;
  a.seed({Mailbox::make("C", "B/C", "A")});
  b.seed({Mailbox::make("C", "C", "A/B")});
  EXPECT_EQ(merged(a, b), a);
  EXPECT_EQ(merged(b, a), b);
  EXPECT_EQ(merged(merged(a, b), a), a);
}

TEST(FavoriteMailboxSyncState, TheWinnerOfAPair) {
  const auto entry = [](std::int64_t counter, const char* writer, bool removed, const char* name) {
    return State::Entry{Mailbox::make(name, "p", "A"), removed, {counter, writer}};
  };
  const struct {
    State::Entry winner, loser;
  } pairs[] = {
      {entry(2, "A", false, "a"), entry(1, "B", true, "b")},   // the counter comes first
      {entry(10, "A", false, "a"), entry(9, "A", true, "b")},  // and is a number
      {entry(1, "B", false, "a"), entry(1, "A", true, "b")},   // then the writer
      {entry(1, "a", false, "a"), entry(1, "B", true, "b")},   // in code-point order
      {entry(1, "\xEF\xBF\xBD", false, "a"), entry(1, "z", true, "b")},
      {entry(1, "\xF0\x90\x80\x80", false, "a"), entry(1, "\xEF\xBF\xBD", true, "b")},  // not in UTF-16 order
      {entry(1, "A", true, "a"), entry(1, "A", false, "b")},                            // then the tombstone
      {entry(1, "A", true, "b"), entry(1, "A", true, "a")},                             // then the name
      {entry(0, "", false, "a"), entry(-1, "z", true, "b")},
  };
  for (const auto& [winner, loser] : pairs) {
    State a;
    State b;
    a.entries["A/p"] = winner;
    b.entries["A/p"] = loser;
    EXPECT_EQ(merged(a, b).entries, a.entries) << winner.revision.counter << winner.revision.writer;
    EXPECT_EQ(merged(b, a).entries, a.entries) << winner.revision.counter << winner.revision.writer;
  }
}

TEST(FavoriteMailboxSyncState, OneEditIsOneRevision) {
  State state;
  state.recordEdit({box("a"), box("b"), box("c")}, {}, "W");
  const auto first = state;
  state.recordEdit({box("a"), box("b"), box("c")}, {box("a"), box("b"), box("c")}, "V");
  EXPECT_EQ(state, first) << "nothing changed";

  auto renamed = box("a");
  renamed.name = "A";
  state.recordEdit({box("d"), renamed, box("c")}, {box("a"), box("b"), box("c")}, "W");
  const State::Revision second{2, "W"};
  EXPECT_EQ(state.entries.at("Work/d"), (State::Entry{box("d"), false, second}));
  EXPECT_EQ(state.entries.at("Work/a"), (State::Entry{renamed, false, second}));
  EXPECT_EQ(state.entries.at("Work/b"), (State::Entry{box("b"), true, second}));
  EXPECT_EQ(state.entries.at("Work/c"), first.entries.at("Work/c"));
  EXPECT_EQ(state.orderRevision, second);
  // The same ids in the same order: the order keeps its revision when a mailbox changes.
  state.recordEdit({box("d"), box("a"), box("c")}, {box("d"), renamed, box("c")}, "W");
  EXPECT_EQ(state.orderRevision, second);
  EXPECT_EQ(state.entries.at("Work/a").revision.counter, 3);
}

TEST(FavoriteMailboxSyncState, TheCounterPassesEverythingSeenAndEndsAtItsLimit) {
  constexpr auto limit = std::numeric_limits<std::int64_t>::max();
  State state;
  state.orderRevision = {7, "X"};
  state.seed({box("a")});
  state.entries["Work/a"].revision.counter = -5;
  state.recordEdit({box("a"), box("b")}, {box("a")}, "W");
  EXPECT_EQ(state.orderRevision.counter, 8);
  EXPECT_EQ(state.entries.at("Work/a").revision.counter, -5);

  state.entries["Work/a"].revision.counter = limit - 1;
  state.recordEdit({box("b")}, {box("a"), box("b")}, "W");
  EXPECT_EQ(state.orderRevision.counter, limit);
  EXPECT_DEATH(state.recordEdit({}, {box("b")}, "W"), "revision counter of the synced favourites");
}

TEST(FavoriteMailboxSyncState, TheVisibleListSurvivesAnyOrder) {
  State state;
  state.seed({box("c"), box("a"), box("b")});
  state.recordEdit({box("c"), box("a")}, {box("c"), box("a"), box("b")}, "W");
  const struct {
    std::vector<std::string> order;
    std::vector<Mailbox> visible;
  } cases[] = {
      {{"Work/a", "Work/c"}, {box("a"), box("c")}},
      {{}, {box("a"), box("c")}},
      {{"Work/c", "Work/x", "Work/b", "Work/c"}, {box("c"), box("a")}},
  };
  for (const auto& [order, visible] : cases) {
    state.order = order;
    EXPECT_EQ(state.visibleList(), visible);
  }
}

// --- every history of two machines and two mailboxes

struct Replica {
  State state;
  std::vector<Mailbox> list;
  State published;  // what the other machine can see
  synctest::Knowledge known;
  synctest::Knowledge publishedKnown;
};

struct World {
  Replica machines[2];
  std::vector<Edit> edits;
};

constexpr int kActions = 6;  // put a, put b, remove a, remove b, turn the list round, sync

void sync(Replica& self, const Replica& other) {
  self.state.merge(other.published);
  self.known.insert(other.publishedKnown.begin(), other.publishedKnown.end());
  self.list = self.state.visibleList();
  self.published = self.state;
  self.publishedKnown = self.known;
}

// False where the user cannot do that.
bool act(World& world, int machine, int action) {
  Replica& self = world.machines[machine];
  if (action == 5) {
    sync(self, world.machines[1 - machine]);
    return true;
  }
  auto list = self.list;
  Edit edit{self.known, {}, {}, {}};
  if (action == 4) {
    if (list.size() < 2) return false;
    std::ranges::reverse(list);
  } else {
    const auto mailbox = box(action % 2 == 0 ? "a" : "b");
    const bool removes = action >= 2;
    if ((std::erase(list, mailbox) == 1) != removes) return false;
    if (!removes) list.push_back(mailbox);
    (removes ? edit.removed : edit.put).insert(mailbox.id);
  }
  edit.result = list;
  self.known.insert(static_cast<int>(world.edits.size()));
  world.edits.push_back(std::move(edit));
  self.state.recordEdit(list, self.list, machine == 0 ? "A" : "B");
  self.list = list;
  return true;
}

std::string check(World world, const std::vector<Mailbox>& seeds) {
  auto& [one, two] = world.machines;
  sync(one, two);
  sync(two, one);
  sync(one, two);
  if (encodeSyncState(one.state) != encodeSyncState(two.state)) return "the states differ";
  if (one.list != two.list) return "the lists differ";
  return contradiction(one.list, world.edits, seeds);
}

std::size_t explore(const World& world, int length, std::vector<int>& trail,
                    const std::vector<Mailbox>& seeds) {
  const auto why = check(world, seeds);
  if (!why.empty()) {
    std::string story;
    for (const int step : trail)
      story += std::to_string(step / kActions) + ":" + std::to_string(step % kActions) + " ";
    ADD_FAILURE() << why << " after " << story;
    return 1;
  }
  std::size_t count = 1;
  if (length == 0) return count;
  for (int choice = 0; choice < 2 * kActions && !testing::Test::HasFailure(); ++choice) {
    World next = world;
    if (!act(next, choice / kActions, choice % kActions)) continue;
    trail.push_back(choice);
    count += explore(next, length - 1, trail, seeds);
    trail.pop_back();
  }
  return count;
}

TEST(FavoriteMailboxSyncState, EveryShortHistoryOfTwoMachinesConverges) {
  constexpr int kSteps = kSanitized ? 4 : 6;
  const struct {
    std::vector<Mailbox> first, second;
  } starts[] = {
      {{}, {}},
      {{box("a")}, {box("b")}},
      {{box("a"), box("b")}, {box("b"), box("a")}},
      {{box("a"), box("b")}, {}},
  };
  for (const auto& start : starts) {
    World world;
    world.machines[0].state.seed(start.first);
    world.machines[1].state.seed(start.second);
    world.machines[0].list = start.first;
    world.machines[1].list = start.second;
    auto seeds = start.first;
    seeds.insert(seeds.end(), start.second.begin(), start.second.end());
    std::vector<int> trail;
    EXPECT_GT(explore(world, kSteps, trail, seeds), kSanitized ? 1'000U : 50'000U);
  }
}

}  // namespace
}  // namespace quillbox
