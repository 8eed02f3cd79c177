// The three lists that the user keeps.
#include <deque>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidcheck/state.h>

#include "base/error_numbers.h"
#include "mailboxes/manager_fixture.h"
#include "support/memory_cloud.h"

namespace quillbox {
namespace {

using Ids = std::vector<std::string>;

class Directory final : public MailboxDirectory {
 public:
  explicit Directory(std::vector<Mailbox> list) : list_(std::move(list)) {}
  const MailboxList& everyMailbox() const override { return list_; }
  const Mailbox* findMailbox(std::string_view id) const override {
    for (const auto& mailbox : list_) {
      if (mailbox.id == id) return &mailbox;
    }
    return nullptr;
  }

 private:
  MailboxList list_;
};

class MailboxLists : public ManagerFixture {};

// --- random edits of all three lists, by two processes that share one store

struct Model {
  std::deque<std::string> favorites;
  std::deque<std::string> recents;  // oldest first
  std::deque<std::string> excluded;
};

struct Process {
  explicit Process(const std::shared_ptr<MemoryUserDefaults::Store>& store) : defaults(store) {}
  RecordingLog log;
  NotificationCenter notifications;
  MemoryUserDefaults defaults;
  UserSettings settings{defaults, log};
  FavoriteMailboxManager favorites{settings, notifications};
  RecentMailboxManager recents{settings};
  ExcludedMailboxManager excluded{settings};
};

struct Machine {
  std::shared_ptr<MemoryUserDefaults::Store> store = std::make_shared<MemoryUserDefaults::Store>();
  Directory directory{[] {
    std::vector<Mailbox> list;
    for (int i = 0; i < 16; ++i) list.push_back(Mailbox::make("n", "m" + std::to_string(i), "A"));
    return list;
  }()};
  std::vector<std::unique_ptr<Process>> processes;

  Machine() {
    for (int i = 0; i < 2; ++i) {
      processes.push_back(std::make_unique<Process>(store));
      processes.back()->recents.setDirectory(&directory);
    }
  }
};

Ids idsOf(const std::vector<Mailbox>& list) {
  Ids ids;
  for (const auto& mailbox : list) ids.push_back(mailbox.id);
  return ids;
}

struct Edit : rc::state::Command<Model, Machine> {
  int process = *rc::gen::inRange(0, 2);
  int list = *rc::gen::inRange(0, 3);
  int what = *rc::gen::weightedElement<int>({{6, 0}, {3, 1}, {1, 2}});  // add, remove, clear
  int failing = *rc::gen::weightedElement<int>({{7, 0}, {1, 1}});
  // 16 to 19 are not in the full list.
  std::string id = "A/m" + std::to_string(*rc::gen::inRange(0, 20));

  bool isKnown() const { return std::stoi(id.substr(3)) < 16; }

  // The list as it is afterwards and what the edit answers.
  bool edit(Model& model) const {
    auto& ids = list == 0 ? model.favorites : list == 1 ? model.recents : model.excluded;
    const auto found = std::ranges::find(ids, id);
    const bool held = found != ids.end();
    if (what == 2) {
      ids.clear();
      return true;
    }
    if (what == 1) {
      if (held) ids.erase(found);
      return held;
    }
    if (list != 1) {
      if (!held) ids.push_back(id);
      return !held;
    }
    if (!isKnown()) return false;
    if (held) {
      ids.erase(found);
    } else if (ids.size() == 10) {
      ids.pop_front();
    }
    ids.push_back(id);
    return true;
  }

  void apply(Model& model) const override {
    if (failing == 0) edit(model);
  }

  void run(const Model& before, Machine& machine) const override {
    Process& at = *machine.processes[static_cast<std::size_t>(process)];
    ListMailboxManager& manager = list == 0   ? static_cast<ListMailboxManager&>(at.favorites)
                                  : list == 1 ? at.recents
                                              : static_cast<ListMailboxManager&>(at.excluded);
    Model after = before;
    const bool expected = edit(after);
    if (failing != 0) at.defaults.failWrites(28);
    const Mailbox mailbox = Mailbox::make("n", id.substr(2), "A");
    Result<bool> answer = true;
    if (what == 0) answer = manager.add(mailbox);
    if (what == 1) answer = manager.remove(mailbox);
    if (what == 2) {
      manager.load();
      if (auto cleared = manager.clear(); !cleared) answer = forward(cleared);
    }
    at.defaults.failWrites(0);
    if (failing == 0) {
      RC_ASSERT((answer && *answer == expected));
    } else {
      after = before;
    }
    for (auto& other : machine.processes) {
      other->settings.synchronize();
      const auto same = [](const std::vector<Mailbox>& held, const std::deque<std::string>& wanted) {
        return idsOf(held) == Ids(wanted.begin(), wanted.end());
      };
      RC_ASSERT(same(other->favorites.mailboxes.get(), after.favorites));
      RC_ASSERT(same(other->recents.mailboxes.get(), after.recents));
      RC_ASSERT(same(other->excluded.mailboxes.get(), after.excluded));
    }
    // A process that starts now reads what the others hold.
    if (what == 2) {
      const Process fresh(machine.store);
      RC_ASSERT(fresh.recents.mailboxes.get() == at.recents.mailboxes.get());
      RC_ASSERT(fresh.favorites.mailboxes.get() == at.favorites.mailboxes.get());
      RC_ASSERT(fresh.excluded.mailboxes.get() == at.excluded.mailboxes.get());
    }
  }

  void show(std::ostream& out) const override {
    out << "process " << process << " list " << list << " what " << what << " id " << id << " failing "
        << failing;
  }
};

RC_GTEST_PROP(MailboxListsModel, KeepTheirInvariantsThroughAnyEdits, ()) {
  Machine machine;
  rc::state::check(Model(), machine, rc::state::gen::execOneOfWithArgs<Edit>());
}

// --- what is stored, and what is shown of it

TEST_F(MailboxLists, DamagedAndRepeatedEntriesOfAStoredList) {
  struct {
    const char* stored;
    Ids ids;
  } const cases[] = {
      {"", {}},
      {"{", {}},
      {R"([{"name":"a","path":"a"}])", {}},
      {R"([{"name":"a","path":"a","account":"W"},{"name":"b","path":"a","account":"W"}])", {"W/a"}},
      {R"([{"name":"","path":"","account":""}])", {"/"}},
  };
  for (const auto& c : cases) {
    MemoryUserDefaults stored;
    (void)stored.set("favoriteMailboxes", Data{c.stored});
    UserSettings read(stored, log_);
    EXPECT_EQ(idsOf(FavoriteMailboxManager(read, notifications_).mailboxes.get()), c.ids) << c.stored;
  }
}

TEST_F(MailboxLists, PrepareGivesTheFullListsEntries) {
  (void)settings_.recentMailboxes.set(
      {Mailbox::make("old name", "a", "W"), box("W/gone"), box("W/b"), box("W/c")});
  const auto index =
      *SearchIndex::build(MailboxList(boxes({"W/c", "W/b", "W/a"})), {}, CaseMode::insensitive);
  const auto namesOf = [&](const ListMailboxManager& list) {
    Ids names;
    for (const auto position : list.prepare(*index)) names.push_back(index->mailbox(position).name);
    return names;
  };
  EXPECT_EQ(namesOf(recents_), (Ids{"c", "b", "a"}));
  (void)settings_.favoriteMailboxes.set(settings_.recentMailboxes.get());
  EXPECT_EQ(namesOf(favorites_), (Ids{"a", "b", "c"}));
}

TEST_F(MailboxLists, WithoutAKnownListEveryRecentIsKept) {
  EXPECT_EQ(recents_.add(box("W/a")), true);  // the manager's list is empty
  recents_.setDirectory(nullptr);
  EXPECT_EQ(recents_.add(box("W/b")), true);
  EXPECT_EQ(idsOf(recents_.mailboxes.get()), (Ids{"W/a", "W/b"}));
}

TEST_F(MailboxLists, TheExcludedListAsText) {
  const Directory known(boxes({"W/a", "W/b", "W/ c ", "W/x\ny", "W/x\\ny"}));
  (void)excluded_.add(box("Old/gone"));
  excluded_.beginEdit();
  EXPECT_TRUE(excluded_.showingEdit.get());
  EXPECT_EQ(excluded_.excludedString.get(), "Old/gone\n");

  excluded_.excludedString.set("W/b\r\n\n  W/a\nW/nope\nOld/gone\nW/b\nW/ c \nw/a\nW/x\\ny");
  const auto unknown = excluded_.confirmEdit(known);
  ASSERT_TRUE(unknown);
  EXPECT_EQ(*unknown, (std::vector<ExcludedMailboxManager::UnknownLine>{{4, "W/nope"}, {8, "w/a"}}));
  EXPECT_EQ(idsOf(excluded_.mailboxes.get()), (Ids{"W/b", "W/a", "Old/gone", "W/ c ", "W/x\\ny"}));
  EXPECT_EQ(excluded_.excludedString.get(), "W/nope\nw/a\n");
  EXPECT_TRUE(excluded_.showingAlert.get() && excluded_.showingEdit.get());

  // What is written can be read back, line breaks in a name too.
  (void)excluded_.save(boxes({"W/x\ny", "W/a"}), Overwrite::always);
  excluded_.beginEdit();
  ASSERT_EQ(excluded_.confirmEdit(Directory(boxes({"W/x\ny", "W/a"}))),
            std::vector<ExcludedMailboxManager::UnknownLine>{});
  EXPECT_EQ(idsOf(excluded_.mailboxes.get()), (Ids{"W/x\ny", "W/a"}));
  EXPECT_FALSE(excluded_.showingAlert.get() || excluded_.showingEdit.get());

  excluded_.selection.set({"W/a", "W/other"});
  EXPECT_TRUE(excluded_.removeSelection());
  EXPECT_EQ(idsOf(excluded_.mailboxes.get()), Ids{"W/x\ny"});

  defaults_.failWrites(28);
  excluded_.excludedString.set("W/a");
  const auto failed = excluded_.confirmEdit(known);
  ASSERT_FALSE(failed);
  EXPECT_EQ(idsOf(excluded_.mailboxes.get()), Ids{"W/x\ny"});
  EXPECT_EQ(excluded_.excludedString.get(), "W/a");
}

// --- favourites that are replicated

struct SyncingProcess {
  SyncingProcess(MemoryCloud& cloud, std::uint64_t seed) : random(seed), shared(cloud) {}

  RecordingLog log;
  NotificationCenter notifications;
  MemoryUserDefaults defaults;
  UserSettings settings{defaults, log};
  FixedRandomSource random;
  MemoryCloud& shared;
  int made = 0;
  FavoriteMailboxManager favorites{settings, notifications, [this] {
                                     ++made;
                                     return std::make_unique<FavoriteMailboxSync>(
                                         FavoriteMailboxSync::Ports{defaults, shared, random, log, {}});
                                   }};
};

TEST_F(MailboxLists, FavouritesMeetThroughTheCloudStoreOnceTheSwitchIsOn) {
  MemoryCloud cloud;
  SyncingProcess one(cloud, 1);
  SyncingProcess two(cloud, 100);
  (void)one.favorites.add(box("W/a"));
  (void)one.favorites.add(box("W/b"));
  (void)two.favorites.add(box("W/c"));
  EXPECT_TRUE(cloud.values.empty());
  EXPECT_EQ(one.made, 0);

  int updates = 0;
  const auto seen = one.notifications.observe<NoObject>(notification::iCloudSyncDidUpdateToLatest,
                                                        [&](const NoObject&) { ++updates; });
  (void)one.settings.enableFavoritesSync.set(true);
  EXPECT_EQ(updates, 1);
  EXPECT_EQ(idsOf(one.favorites.mailboxes.get()), (Ids{"W/a", "W/b"}));
  // An edit before the first merge removes nothing that only the other machine knows.
  (void)two.settings.enableFavoritesSync.set(true);
  (void)two.favorites.add(box("W/d"));
  one.favorites.synchronize();
  auto merged = idsOf(one.favorites.mailboxes.get());
  EXPECT_EQ(merged, idsOf(two.favorites.mailboxes.get()));
  std::ranges::sort(merged);
  EXPECT_EQ(merged, (Ids{"W/a", "W/b", "W/c", "W/d"}));

  EXPECT_EQ(one.favorites.remove(box("W/c")), true);
  two.favorites.synchronize();
  EXPECT_FALSE(two.favorites.contains("W/c"));
  EXPECT_EQ(one.made, 1);

  // Off: the list stays, and nothing travels any more.
  (void)two.settings.enableFavoritesSync.set(false);
  (void)two.favorites.remove(box("W/a"));
  one.favorites.synchronize();
  EXPECT_TRUE(one.favorites.contains("W/a"));
}

}  // namespace
}  // namespace quillbox
