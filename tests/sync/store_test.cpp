// The store between user defaults and the cloud, and the mirror of settings.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/notification_center.h"
#include "sync/cloud_defaults_sync.h"
#include "sync/favorite_mailbox_sync_store.h"
#include "sync/machines.h"
#include "sync/sync_state_codec.h"

namespace quillbox {
namespace {

using State = FavoriteMailboxSyncState;
using synctest::box;
using synctest::Machine;

class FavoriteStore : public testing::Test {
 protected:
  FavoriteMailboxSyncStore make() { return {defaults_, adapter_, random_, log_}; }
  std::string changesKey(const FavoriteMailboxSyncStore& store) {
    return std::string(FavoriteMailboxSyncStore::kChangesPrefix) + store.writer();
  }
  const std::string& cloudBytes(const std::string& key) {
    return std::get<Data>(cloud_.values.at(key)).bytes;
  }
  void putState(const std::string& writer, const State& state) {
    cloud_.values["favoriteMailboxChangesV2." + writer] = Data{encodeSyncState(state)};
  }

  MemoryUserDefaults defaults_;
  MemoryCloud cloud_;
  HostFavoriteMailboxCloudStore adapter_{cloud_};
  FixedRandomSource random_;
  RecordingLog log_;
};

TEST_F(FavoriteStore, AFreshMachineWritesItsFavouritesWithTheLeastRevision) {
  auto store = make();
  EXPECT_EQ(store.writer(), "00000000-0000-4000-8000-000000000001");
  EXPECT_EQ(*defaults_.stored("favoriteMailboxSyncWriterV2"), DefaultsValue(store.writer()));
  store.loadAndMerge({box("b"), box("a")});
  store.save();
  const auto state = *decodeSyncState(cloudBytes(changesKey(store)));
  EXPECT_EQ(state.entries.at("Work/a"), (State::Entry{box("a"), false, {0, ""}}));
  EXPECT_EQ(state.order, (std::vector<std::string>{"Work/b", "Work/a"}));
  EXPECT_EQ(state.orderRevision, (State::Revision{0, ""}));
  EXPECT_EQ(cloudBytes("syncFavoriteMailboxes"), encodeMailboxes({box("b"), box("a")}));
  EXPECT_EQ(*defaults_.stored("favoriteMailboxSyncStateV2"),
            DefaultsValue(Data{cloudBytes(changesKey(store))}));
  EXPECT_EQ(cloud_.values.size(), 2U);

  // Nothing is written for an unchanged state, by this store or after a restart.
  const auto local = defaults_.writes();
  const auto remote = cloud_.writes;
  store.loadAndMerge({box("b"), box("a")});
  store.save();
  auto again = make();
  EXPECT_EQ(again.writer(), store.writer());
  again.loadAndMerge({box("b"), box("a")});
  again.save();
  EXPECT_EQ(defaults_.writes(), local);
  EXPECT_EQ(cloud_.writes, remote);
}

TEST_F(FavoriteStore, TakesEveryoneAndPassesOverWhatIsNoState) {
  State good;
  good.recordEdit({box("a")}, {}, "G");
  State removed;
  removed.recordEdit({}, {box("b")}, "R");
  putState("G", good);
  putState("R", removed);
  auto bad = good;
  bad.entries["Work/bad"] = {box("bad"), false, {1, "B"}};
  bad.version = 1;
  putState("V1", bad);
  bad.version = 3;
  putState("V3", bad);
  bad.version = 2;
  bad.orderRevision.counter = -1;
  putState("Negative", bad);
  bad.orderRevision.counter = 1;
  bad.entries["Work/other"] = {box("bad"), false, {1, "B"}};
  putState("OtherKey", bad);
  cloud_.values["favoriteMailboxChangesV2.Text"] = encodeSyncState(good);
  cloud_.values["favoriteMailboxChangesV2.Number"] = std::int64_t{2};
  cloud_.values["favoriteMailboxChangesV2.Torn"] = Data{encodeSyncState(good).substr(0, 70)};
  cloud_.values["favoriteMailboxChangesV2."] = Data{"no JSON"};
  cloud_.values["favoriteMailboxChangesV3.X"] = Data{encodeSyncState(good)};
  // The old list enters after the merge, so it cannot bring back what a tombstone took.
  cloud_.values["syncFavoriteMailboxes"] = Data{encodeMailboxes({box("b"), box("old")})};

  auto store = make();
  store.loadAndMerge({box("b"), box("mine")});
  EXPECT_EQ(store.visibleList(), (std::vector<Mailbox>{box("a"), box("old"), box("mine")}));
  store.save();
  EXPECT_EQ(cloudBytes("syncFavoriteMailboxes"), encodeMailboxes(store.visibleList()));

  for (const DefaultsValue& value : std::vector<DefaultsValue>{Data{"{}"}, std::string("[]"), true}) {
    cloud_.values["syncFavoriteMailboxes"] = value;
    store.loadAndMerge({});
    store.save();
    EXPECT_EQ(cloudBytes("syncFavoriteMailboxes"), encodeMailboxes(store.visibleList()));
  }
}

TEST_F(FavoriteStore, ItsOwnKeyBringsBackWhatThisMachineLost) {
  {
    auto store = make();
    store.recordLocalEdit({box("a")}, {box("b")});
    store.save();
  }
  const auto own = encodeSyncState(make().state());
  for (const DefaultsValue& damage : std::vector<DefaultsValue>{Data{"{"}, std::string("x"), false}) {
    ASSERT_TRUE(defaults_.set("favoriteMailboxSyncStateV2", damage));
    auto store = make();
    EXPECT_EQ(store.state(), State());
    store.loadAndMerge({});
    store.save();
    EXPECT_EQ(encodeSyncState(store.state()), own);
    EXPECT_EQ(*defaults_.stored("favoriteMailboxSyncStateV2"), DefaultsValue(Data{own}));
  }
}

TEST_F(FavoriteStore, WritesThatFailAreTriedAgain) {
  defaults_.failWrites(28);
  auto store = make();
  store.loadAndMerge({box("a")});
  store.save();
  EXPECT_EQ(cloud_.writes, 0U) << "a machine without a lasting id would leave one more key at every start";
  EXPECT_TRUE(log_.contains("No space left"));
  defaults_.failWrites(0);
  auto next = make();
  next.loadAndMerge({box("a")});
  next.save();
  EXPECT_EQ(cloud_.values.size(), 2U);
  defaults_.failWrites(28);
  next.recordLocalEdit({box("b")}, {box("a")});
  next.save();
  defaults_.failWrites(0);
  next.save();
  EXPECT_EQ(*defaults_.stored("favoriteMailboxSyncStateV2"),
            DefaultsValue(Data{encodeSyncState(next.state())}));
}

// Two machines that tell one id's account and path apart differently would otherwise write this key for ever.
TEST_F(FavoriteStore, MachinesThatDifferInvisiblyLeaveTheOldListAlone) {
  Machine one(100, {Mailbox::make("C", "B/C", "A")});
  Machine two(200, {Mailbox::make("C", "C", "A/B")});
  const auto pass = [](Machine& from, Machine& to) {
    for (const auto& [key, value] : from.cloud.values) to.cloud.values.insert_or_assign(key, value);
    to.step();
  };
  one.step();
  pass(one, two);
  pass(two, one);
  const auto writes = one.writes() + two.writes();
  for (int i = 0; i < 3; ++i) {
    pass(one, two);
    pass(two, one);
  }
  EXPECT_EQ(one.writes() + two.writes(), writes);
}

// What two processes of one profile can do to each other, with and without having seen it.
TEST(FavoritesOfTwoProcesses, TheirEditsJoin) {
  const auto store = std::make_shared<MemoryUserDefaults::Store>();
  MemoryCloud cloud;
  FixedRandomSource random;
  RecordingLog log;
  const auto start = [&](MemoryUserDefaults& defaults) {
    return FavoriteMailboxSync({defaults, cloud, random, log, {}});
  };
  MemoryUserDefaults firstDefaults(store);
  auto first = start(firstDefaults);
  first.recordLocalEdit({box("a"), box("b"), box("c")}, {});
  first.loadMergeAndSave({});
  MemoryUserDefaults secondDefaults(store);
  auto second = start(secondDefaults);
  second.loadMergeAndSave({});

  auto renamed = box("c");
  renamed.name = "See";
  first.recordLocalEdit({box("a"), renamed, box("x")}, {box("a"), box("b"), box("c")});
  // The second has not seen that: its list still shows b and the old name.
  second.recordLocalEdit({box("b"), box("c"), box("y")}, {box("a"), box("b"), box("c")});
  const auto list = second.loadMergeAndSave({});
  EXPECT_EQ(list, (std::vector<Mailbox>{renamed, box("y"), box("x")}));
  EXPECT_EQ(first.loadMergeAndSave({}), list);
  // Now the second removes x, and the first, which shows the new list, adds it again.
  second.recordLocalEdit({renamed, box("y")}, list);
  first.recordLocalEdit({renamed, box("y"), box("x")}, {renamed, box("y")});
  EXPECT_EQ(first.loadMergeAndSave({}), list);
  EXPECT_EQ(second.loadMergeAndSave({}), list);
}

TEST(CloudDefaults, MirrorsItsPrefixBothWaysWithoutEcho) {
  MemoryUserDefaults defaults;
  MemoryCloud cloud;
  NotificationCenter center;
  RecordingLog log;
  int updates = 0;
  const auto counting = center.observe<NoObject>(notification::cloudDefaultsSyncDidUpdateToLatest,
                                                 [&](const NoObject&) { ++updates; });
  {
    CloudDefaultsSync mirror(defaults, cloud, center, log, {"syncKept"});
    ASSERT_TRUE(defaults.set("syncEarly", std::int64_t{1}));
    EXPECT_EQ(cloud.writes, 0U) << "not started";
    mirror.startWithPrefix("sync");
    ASSERT_TRUE(defaults.set("syncA", 0.5));
    ASSERT_TRUE(defaults.set("syncKept", true));
    ASSERT_TRUE(defaults.set("other", true));
    EXPECT_EQ(cloud.values, (CloudValues{{"syncEarly", std::int64_t{1}}, {"syncA", 0.5}}));

    cloud.values["syncA"] = Data{"x"};
    cloud.values["syncB"] = std::string("y");
    cloud.values["syncKept"] = false;
    cloud.values["elsewhere"] = false;
    const auto writes = cloud.writes;
    cloud.observers.notify();
    EXPECT_EQ(*defaults.stored("syncA"), DefaultsValue(Data{"x"}));
    EXPECT_EQ(*defaults.stored("syncB"), DefaultsValue(std::string("y")));
    EXPECT_EQ(*defaults.stored("syncKept"), DefaultsValue(true));
    EXPECT_FALSE(defaults.stored("elsewhere"));
    EXPECT_EQ(cloud.writes, writes) << "an echo";
    EXPECT_EQ(updates, 1);
    ASSERT_TRUE(defaults.set("syncB", false));
    EXPECT_EQ(cloud.values.at("syncB"), DefaultsValue(false)) << "still followed after taking over";
  }
  ASSERT_TRUE(defaults.set("syncB", true));
  cloud.observers.notify();
  EXPECT_EQ(cloud.values.at("syncB"), DefaultsValue(false));
  EXPECT_EQ(updates, 1);
}

}  // namespace
}  // namespace quillbox
