// The watcher against the kernel.
#include "host/linux/directory_watcher.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "host/linux/dispatch.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;

class Watcher : public testing::Test {
 protected:
  // How often `seen` grows is the kernel's affair; that it does, and that it is quiet afterwards, is ours.
  void expectCall(const int& seen, const char* why) {
    const int before = seen - pending_;
    EXPECT_TRUE(dispatch_.runMainUntil([&] { return seen > before; }, std::chrono::seconds(10))) << why;
    pending_ = 0;
  }
  // Every event that happened before this call has been told when it returns.
  void settle() {
    const TemporaryDirectory fence;
    int fenced = 0;
    const auto watch = watcher_->watch(fence.path(), [&] { ++fenced; });
    ASSERT_TRUE(watch);
    write(fence / "x");
    ASSERT_TRUE(dispatch_.runMainUntil([&] { return fenced > 0; }, std::chrono::seconds(10)));
  }
  static void write(const fs::path& file) { std::ofstream(file) << "x"; }

  const TemporaryDirectory home_;
  RunLoopDispatch dispatch_;
  std::unique_ptr<InotifyDirectoryWatcher> watcher_ = std::make_unique<InotifyDirectoryWatcher>(dispatch_);
  int pending_ = 0;
};

TEST_F(Watcher, TellsOfEveryKindOfChangeAndOfNothingElse) {
  write(home_ / "old");
  fs::create_directory(home_ / "sub");
  int seen = 0;
  auto watch = watcher_->watch(home_.path(), [&] { ++seen; });
  ASSERT_TRUE(watch);
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"create", [&] { write(home_ / "new"); }},
      {"write in place", [&] { std::ofstream(home_ / "old", std::ios::app) << "y"; }},
      {"rename", [&] { fs::rename(home_ / "new", home_ / "newer"); }},
      {"replace", [&] { fs::rename(home_ / "newer", home_ / "old"); }},
      {"hard link", [&] { fs::create_hard_link(home_ / "old", home_ / "link"); }},
      {"directory", [&] { fs::create_directory(home_ / "dir"); }},
      {"move out", [&] { fs::rename(home_ / "link", home_ / "sub" / "link"); }},
      {"move in", [&] { fs::rename(home_ / "sub" / "link", home_ / "link"); }},
      {"remove", [&] { fs::remove(home_ / "link"); }},
  };
  for (const auto& [why, change] : changes) {
    settle();
    seen = 0;
    change();
    expectCall(seen, why);
  }
  settle();
  seen = 0;
  write(home_ / "sub" / "deeper");
  std::ifstream(home_ / "old").get();
  settle();
  EXPECT_EQ(seen, 0);
  for (int i = 0; i < 1000; ++i) write(home_ / "burst");
  settle();
  EXPECT_GE(seen, 1);
  EXPECT_LT(seen, 1000) << "many changes, few calls";

  seen = 0;
  write(home_ / "last");
  watch->reset();
  settle();
  EXPECT_EQ(seen, 0) << "never after the subscription was given up";
}

TEST_F(Watcher, FollowsADirectoryThatIsMissingGoesAndComesBack) {
  const auto directory = home_ / "a" / "b" / "c";
  int seen = 0;
  const auto watch = watcher_->watch(directory, [&] { ++seen; });
  ASSERT_TRUE(watch);
  fs::create_directory(home_ / "other");
  fs::create_directory(home_ / "a");
  settle();
  EXPECT_EQ(seen, 0) << "not yet there";
  for (int round = 0; round < 5; ++round) {
    seen = 0;
    fs::create_directories(directory);
    expectCall(seen, "came");
    settle();
    seen = 0;
    write(directory / "x");
    expectCall(seen, "changed");
    settle();
    seen = 0;
    switch (round) {
      case 0:
        fs::remove_all(directory);
        break;
      case 1:
        fs::remove_all(home_ / "a");
        break;
      case 2:
        fs::rename(directory, home_ / "elsewhere");
        break;
      case 3:
        fs::remove_all(directory);
        write(directory);  // a file in its place
        break;
      default:
        fs::remove_all(home_ / "a" / "b");
        break;
    }
    expectCall(seen, "went");
    if (round == 3) fs::remove(directory);
    settle();
  }
  seen = 0;
  write(home_ / "elsewhere" / "y");
  settle();
  EXPECT_EQ(seen, 0) << "what was moved away is no longer the directory";
}

TEST_F(Watcher, TwoOnOneDirectoryAndOnItsParentDoNotDisturbEachOther) {
  const auto directory = home_ / "d";
  fs::create_directory(directory);
  int one = 0;
  int two = 0;
  int waiting = 0;
  auto first = watcher_->watch(directory, [&] { ++one; });
  const auto second = watcher_->watch(directory, [&] { ++two; });
  const auto third = watcher_->watch(directory / "missing", [&] { ++waiting; });
  ASSERT_TRUE(first && second && third);
  first->reset();
  write(directory / "x");
  settle();
  EXPECT_EQ(one, 0);
  EXPECT_GE(two, 1);
  EXPECT_EQ(waiting, 0);
  two = 0;
  fs::create_directory(directory / "missing");
  settle();
  EXPECT_GE(two, 1);
  EXPECT_GE(waiting, 1);
  two = waiting = 0;
  write(directory / "missing" / "x");
  settle();
  EXPECT_EQ(two, 0);
  EXPECT_GE(waiting, 1);
}

TEST_F(Watcher, MayEndBeforeItsSubscriptionsAndFromWithinACall) {
  int seen = 0;
  Result<Subscription> inner;
  inner = watcher_->watch(home_.path(), [&] {
    ++seen;
    inner->reset();
  });
  ASSERT_TRUE(inner);
  auto outer = watcher_->watch(home_.path(), [] {});
  ASSERT_TRUE(outer);
  write(home_ / "x");
  settle();
  EXPECT_EQ(seen, 1);
  write(home_ / "y");
  watcher_.reset();
  dispatch_.drain();
  outer->reset();
}

TEST_F(Watcher, SaysWhatItCannotWatch) {
  const auto directory = home_ / "closed";
  fs::create_directory(directory);
  fs::permissions(directory, fs::perms::none);
  const auto watch = watcher_->watch(directory / "in", [] {});
  if (std::ifstream probe("/proc/self/status"); probe && ::geteuid() == 0) {
    EXPECT_TRUE(watch) << "root may look everywhere";
  } else {
    ASSERT_FALSE(watch);
    EXPECT_NE(watch.error().message.find("closed/in"), std::string::npos);
  }
  fs::permissions(directory, fs::perms::owner_all);
}

}  // namespace
}  // namespace quillbox
