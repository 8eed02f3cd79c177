// Two programs that stay, each with its profile, and the folder between them: what one changes, the other
// shows without being asked.
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "in_process.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;

class Program {
 public:
  Program(const Store& store, const std::string& name) : profile_(store.root / name) {
    fs::create_directory(profile_);
    start();
    EXPECT_TRUE(all->settings.cloudFolder.set((store.root / "shared").string()));
    start();  // the folder is read at the start
    all->replication.start(all->favorites);
    EXPECT_TRUE(all->settings.enableFavoritesSync.set(true));
  }

  // Whether it comes to show this; a machine may be slow, but not for ever.
  bool comesTo(const std::function<bool()>& condition) {
    return all->dispatch.runMainUntil(condition, std::chrono::minutes(2));
  }
  bool shows(const std::string& id) {
    return comesTo([&] { return all->favorites.contains(id); });
  }
  bool forgets(const std::string& id) {
    return comesTo([&] { return !all->favorites.contains(id); });
  }
  DefaultsValue state() const { return *all->defaults.stored(FavoriteMailboxSyncStore::kStateKey); }

 private:
  void start() {
    all.reset();
    auto made = Composition::make({Path(profile_), log_, frontend_});
    ASSERT_TRUE(made.has_value()) << made.error().message;
    all = std::move(*made);
  }

  fs::path profile_;
  RecordingLog log_;
  RecordingFrontend frontend_;

 public:
  std::unique_ptr<Composition> all;
};

TEST(Replication, ProgramsThatStayFollowTheFolder) {
  const Store store;
  Program one(store, "A");
  Program two(store, "B");
  const auto box = [](const char* path) { return Mailbox::make(path, path, "Work"); };

  EXPECT_EQ(one.all->favorites.add(box("a")), true);
  EXPECT_TRUE(two.shows("Work/a"));
  EXPECT_EQ(two.all->favorites.add(box("b")), true);
  EXPECT_EQ(two.all->favorites.remove(box("a")), true);
  EXPECT_TRUE(one.shows("Work/b") && one.forgets("Work/a"));

  // The folder is taken away, and both go on; whoever writes next makes it again with what it knows.
  fs::remove_all(store.root / "shared");
  EXPECT_EQ(one.all->favorites.add(box("c")), true);
  EXPECT_TRUE(two.shows("Work/c"));
  EXPECT_FALSE(two.all->favorites.contains("Work/a"));

  // Settings whose keys begin with "sync" go along. Switched off, a program keeps its list meanwhile;
  // switched on again, it has the other's.
  ASSERT_TRUE(two.all->settings.enableFavoritesSync.set(false));
  EXPECT_EQ(one.all->favorites.add(box("d")), true);
  ASSERT_TRUE(one.all->defaults.set("syncNote", std::string("x")));
  EXPECT_TRUE(two.comesTo([&] { return two.all->defaults.stored("syncNote").has_value(); }));
  EXPECT_FALSE(two.all->favorites.contains("Work/d"));
  ASSERT_TRUE(two.all->settings.enableFavoritesSync.set(true));
  EXPECT_TRUE(two.all->favorites.contains("Work/d"));

  EXPECT_TRUE(one.comesTo([&] { return one.state() == two.state(); }));
  EXPECT_EQ(one.all->favorites.mailboxes.get(), two.all->favorites.mailboxes.get());
  for (const auto& entry : fs::directory_iterator(store.root / "shared"))
    EXPECT_EQ(entry.path().extension(), ".quillbox") << entry.path();
}

}  // namespace
}  // namespace quillbox
