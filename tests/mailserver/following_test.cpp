// The store followed with the kernel's watches while other processes change it.
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "host/linux/directory_watcher.h"
#include "host/linux/dispatch.h"
#include "mailclient/store_follower.h"
#include "real_store.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

constexpr auto kLongEnough = std::chrono::seconds(60);

// Passes everything on, and makes whoever gives a main task wait while the gate is closed: the watcher's
// thread reads no events then.
class GatedDispatch final : public Dispatch {
 public:
  void main(Task task) override {
    const std::lock_guard pass(gate);
    real.main(std::move(task));
  }
  bool isMain() const override { return real.isMain(); }
  void syncMain(const Task& task) override { real.syncMain(task); }
  void background(QualityOfService quality, Task task) override { real.background(quality, std::move(task)); }
  std::unique_ptr<SerialQueue> serialQueue(std::string label) override {
    return real.serialQueue(std::move(label));
  }
  std::shared_ptr<DelayedWork> mainAfter(std::chrono::nanoseconds delay, Task task) override {
    return real.mainAfter(delay, std::move(task));
  }
  std::shared_ptr<DelayedWork> backgroundAfter(std::chrono::nanoseconds delay, Task task) override {
    return real.backgroundAfter(delay, std::move(task));
  }

  RunLoopDispatch real;
  std::mutex gate;
};

// An account "Plus" with messages a, b, c in its inbox, which are selected, and an account "Nested".
class Following : public testing::Test, public RealStore {
 protected:
  void SetUp() override {
    fs::create_directories(fence_);
    for (const auto* folder : {"plus", "plus/.Old", "nested/INBOX", "nested/Group/Sub"}) {
      makeFolder(root() / folder);
    }
    mail_ = client();
    plus_ = mail_->addAccount({"Plus", root() / "plus", "", AccountType::imap})->id;
    nested_ = mail_->addAccount({"Nested", root() / "nested", "", AccountType::imap})->id;
    for (const auto* subject : {"a", "b", "c"}) deliver(root() / "plus", subject);
    ASSERT_EQ(*mail_->selectAll("Plus", "INBOX"), 3U);
    watcher_ = std::make_unique<InotifyDirectoryWatcher>(dispatch_);
    follower_ =
        std::make_unique<StoreFollower>(*mail_, *watcher_, [&](const StoreChange& change) { add(change); });
    follower_->show({{plus_, "INBOX"}});
  }
  void add(const StoreChange& change) {
    EXPECT_FALSE(change.isEmpty());
    told_.accounts |= change.accounts;
    told_.views |= change.views;
    told_.mailboxes.insert(change.mailboxes.begin(), change.mailboxes.end());
    told_.messages.insert(change.messages.begin(), change.messages.end());
  }
  // Every event that happened before this call has been told when it returns.
  void settle() {
    bool fenced = false;
    const auto watch = watcher_->watch(fence_, [&] { fenced = true; });
    ASSERT_TRUE(watch);
    std::ofstream(fence_ / "x") << "x";
    ASSERT_TRUE(dispatch_.real.runMainUntil([&] { return fenced; }, kLongEnough));
  }
  std::string told() const {
    std::string text;
    if (told_.accounts) text += "accounts ";
    for (const auto& id : told_.mailboxes) text += "mailboxes:" + nameOf(id) + " ";
    for (const auto& key : told_.messages) text += "messages:" + nameOf(key.account) + "/" + key.path + " ";
    if (told_.views) text += "views ";
    return text;
  }
  std::string nameOf(const std::string& account) const {
    return account == plus_ ? "Plus" : account == nested_ ? "Nested" : "Local";
  }
  std::string selected() const {
    std::string text;
    for (const auto& row : *mail_->selection())
      text += row.account + "/" + row.mailbox + ":" + row.subject + " ";
    return text;
  }

  const Path fence_ = root() / "fence";
  GatedDispatch dispatch_;
  std::unique_ptr<MailClient> mail_;
  std::unique_ptr<InotifyDirectoryWatcher> watcher_;
  std::unique_ptr<StoreFollower> follower_;
  StoreChange told_;
  std::string plus_;
  std::string nested_;
};

TEST_F(Following, OtherProcessesAreFollowedAndNothingElseIsTold) {
  struct Step {
    std::string command;  // of a shell in the store's folder
    std::string told;
    std::string selected;
  };
  const std::string deliverInto =
      "f() { printf 'Subject: n\\n\\n' > $1/tmp/n && mv $1/tmp/n $1/new/1.n; }; f ";
  const std::string inbox = "Plus/INBOX:a Plus/INBOX:b Plus/INBOX:c ";
  const std::string a = "/1700000000.M1P1.a:2,";
  const std::vector<Step> steps = {
      {"true", "", inbox},
      {deliverInto + "plus", "messages:Plus/INBOX ", inbox},
      {deliverInto + "nested/Group/Sub", "", inbox},
      {"mv plus/new/1.n plus/cur/1.n:2,S", "messages:Plus/INBOX ", inbox},
      {"mv plus/cur" + a + "S plus/cur" + a + "FS", "messages:Plus/INBOX ", inbox},
      {"mv plus/cur" + a + "FS plus/.Old/cur" + a + "FS", "messages:Plus/INBOX views ",
       "Plus/Old:a Plus/INBOX:b Plus/INBOX:c "},
      {"mv plus/.Old/cur" + a + "FS plus/.Old/cur" + a + "FRS", "messages:Plus/Old ",
       "Plus/Old:a Plus/INBOX:b Plus/INBOX:c "},
      {"rm plus/cur/*.b:2,S", "messages:Plus/INBOX views ", "Plus/Old:a Plus/INBOX:c "},
      {"mkdir -p plus/.New/cur plus/.New/new plus/.New/tmp", "mailboxes:Plus ", "Plus/Old:a Plus/INBOX:c "},
      {"mv plus/.Old plus/.Older", "mailboxes:Plus views ", "Plus/Older:a Plus/INBOX:c "},
      {"mv plus/.Older/cur" + a + "FRS plus/.Older/cur" + a + "S", "messages:Plus/Older ",
       "Plus/Older:a Plus/INBOX:c "},
      {"mkdir -p nested/Group/Deep/er/cur nested/Group/Deep/er/new nested/Group/Deep/er/tmp",
       "mailboxes:Nested ", "Plus/Older:a Plus/INBOX:c "},
      {"rm -r nested/Group", "mailboxes:Nested ", "Plus/Older:a Plus/INBOX:c "},
      {"mv nested away", "mailboxes:Nested ", "Plus/Older:a Plus/INBOX:c "},
      {"mv away nested", "mailboxes:Nested ", "Plus/Older:a Plus/INBOX:c "},
      // Restored from a backup: other folders of the same names.
      {"cp -rp plus backup && mv plus away && mv backup plus", "", "Plus/Older:a Plus/INBOX:c "},
      {"rm plus/cur/*.c:2,S", "messages:Plus/INBOX views ", "Plus/Older:a "},
      {"mv plus away2", "mailboxes:Plus ", ""},
      {"mv away2 plus", "mailboxes:Plus ", "Plus/Older:a "},
      {"rm -r plus/.Older", "mailboxes:Plus messages:Plus/Older views ", ""},
  };
  for (const auto& step : steps) {
    told_ = {};
    std::string output;
    ASSERT_EQ(runProgram("cd '" + root().string() + "' && { " + step.command + "; }", &output), 0) << output;
    settle();
    EXPECT_EQ(told(), step.told) << step.command;
    EXPECT_EQ(selected(), step.selected) << step.command;
    settle();
    EXPECT_EQ(told(), step.told) << "asking for the selection tells nothing: " << step.command;
  }
  // Another client of the same profile.
  const auto other = client();
  told_ = {};
  ASSERT_TRUE(other->addAccount({"Third", root() / "away", "", AccountType::pop}));
  settle();
  EXPECT_TRUE(told_.accounts);
  EXPECT_EQ(told_.mailboxes.size(), 1U);
  EXPECT_FALSE(told_.views);
  told_ = {};
  ASSERT_TRUE(other->selectAll("Third", "INBOX"));
  settle();
  EXPECT_EQ(told(), "views ");
}

TEST_F(Following, WhatTheKernelHadNoRoomToTellIsSeenAllTheSame) {
  std::size_t room = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> room;
  ASSERT_GT(room, 0U);
  const Path flood = root() / "flood";
  fs::create_directory(flood);
  std::ofstream(flood / "0") << "x";
  const auto watch = watcher_->watch(flood, [] {});
  ASSERT_TRUE(watch);
  settle();
  {
    const std::lock_guard closed(dispatch_.gate);
    // Two events each, and no two alike in a row, which would be told once.
    for (std::size_t i = 0; i < room; ++i)
      fs::rename(flood / std::to_string(i), flood / std::to_string(i + 1));
    fs::rename(root() / "plus/.Old", root() / "plus/.Lost");
    fs::rename(root() / "plus/cur/1700000000.M1P1.a:2,S", root() / "plus/.Lost/cur/1700000000.M1P1.a:2,S");
  }
  settle();
  EXPECT_TRUE(told_.views);
  EXPECT_EQ(told_.mailboxes, std::set<std::string>{plus_});
  EXPECT_EQ(selected(), "Plus/Lost:a Plus/INBOX:b Plus/INBOX:c ");
}

TEST_F(Following, WithoutWatchesThatIsSaidOnceAndTheNextLookSees) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  InotifyDirectoryWatcher watcher(dispatch_);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  const StoreFollower blind(*mail_, watcher, [](const StoreChange&) { FAIL(); });
  ASSERT_EQ(log.lines(LogLevel::error).size(), 1U);
  EXPECT_TRUE(log.contains("Too many open files")) << log.lines(LogLevel::error).front();
  fs::rename(root() / "plus/cur/1700000000.M1P1.a:2,S", root() / "plus/.Old/cur/1700000000.M1P1.a:2,S");
  EXPECT_EQ(selected(), "Plus/Old:a Plus/INBOX:b Plus/INBOX:c ");
}

}  // namespace
}  // namespace quillbox::mailclient
