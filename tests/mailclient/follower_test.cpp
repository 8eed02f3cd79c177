// What others do to the store while it is shown and selected.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "mailclient/store_follower.h"
#include "support/manual_directory_watcher.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

// Counts what it is asked to watch.
class CountingWatcher final : public DirectoryWatcher {
 public:
  Result<Subscription> watch(const Path& directory, std::function<void()> changed) override {
    ++asked;
    return watcher.watch(directory, std::move(changed));
  }
  ManualDirectoryWatcher watcher;
  int asked = 0;
};

class FollowerTest : public testing::Test, public TestMail {
 protected:
  void SetUp() override {
    makeFolder("/mail/plus");
    makeFolder("/mail/plus/.Old");
    makeFolder("/mail/nested/INBOX");
    makeFolder("/mail/nested/Group/Sub");
    addAccount("Plus", "/mail/plus");
    addAccount("Nested", "/mail/nested");
    plus_ = (*client().accounts())[0].id;
    nested_ = (*client().accounts())[1].id;
    for (const auto* subject : {"a", "b", "c"}) deliver("/mail/plus", subject);
    ASSERT_EQ(*client().selectAll("Plus", "INBOX"), 3U);
    follower_ = std::make_unique<StoreFollower>(
        client(), watcher_, [&](const StoreChange& change) { changes_.push_back(change); });
  }
  std::string nameOf(const std::string& subject, const Path& folder = "/mail/plus") const {
    for (const auto& path : disk.tree(folder / "cur")) {
      if (path.find("." + subject + ":2,") != std::string::npos) return Path(path).filename().string();
    }
    return "";
  }
  void elsewhere(const Path& from, const Path& to) { ASSERT_TRUE(disk.renameNoReplace(from, to)); }
  // What is told when the watcher says that something happened there.
  StoreChange told(const Path& directory) {
    changes_.clear();
    watcher_.watcher.tell(directory);
    return changes_.empty() ? StoreChange{} : changes_.back();
  }
  std::vector<std::string> selectedPlaces() {
    std::vector<std::string> places;
    for (const auto& row : *client().selection())
      places.push_back(row.account + ":" + row.mailbox + ":" + row.subject);
    return places;
  }

  CountingWatcher watcher_;
  std::unique_ptr<StoreFollower> follower_;
  std::vector<StoreChange> changes_;
  std::string plus_;
  std::string nested_;
};

using Places = std::vector<std::string>;

TEST_F(FollowerTest, TheSelectionFollowsItsMessages) {
  const Path root = "/mail/plus";
  // Marked by another reader: the same message, and the list of its mailbox has to be shown anew.
  elsewhere(root / "cur" / nameOf("a"),
            root / "cur" / (nameOf("a").substr(0, nameOf("a").find(":2,")) + ":2,FRS"));
  auto change = told(root / "cur");
  EXPECT_EQ(change.messages, (std::set<MailboxKey>{{plus_, "INBOX"}}));
  EXPECT_FALSE(change.views);
  // Moved, and its mailbox renamed afterwards; removed.
  elsewhere(root / "cur" / nameOf("a"), root / ".Old/cur" / nameOf("a"));
  ASSERT_TRUE(disk.remove(root / "cur" / nameOf("b")));
  EXPECT_TRUE(told(root / "cur").views);
  EXPECT_EQ(selectedPlaces(), (Places{"Plus:Old:a", "Plus:INBOX:c"}));
  elsewhere(root / ".Old", root / ".New.Name");
  change = told(root);
  EXPECT_EQ(change.mailboxes, std::set<std::string>{plus_});
  EXPECT_TRUE(change.views);
  EXPECT_EQ(selectedPlaces(), (Places{"Plus:New/Name:a", "Plus:INBOX:c"}));
  // Its new folder is watched in turn.
  const auto name = nameOf("a", root / ".New.Name");
  elsewhere(root / ".New.Name/cur" / name, root / "new" / name.substr(0, name.find(":2,")));
  EXPECT_TRUE(told(root / ".New.Name/cur").views);
  // What a script files is where the messages are.
  EXPECT_EQ(*fileSelection(client(), {"Nested", "Group/Sub"}), 2U);
  EXPECT_EQ(selectedPlaces().size(), 2U);
  EXPECT_EQ(client().messages("Nested", "Group/Sub")->size(), 2U);
}

TEST_F(FollowerTest, MailboxesAndAccountsThatComeAndGoAreTold) {
  makeFolder("/mail/plus/.Fresh");
  EXPECT_EQ(told("/mail/plus").mailboxes, std::set<std::string>{plus_});
  makeFolder("/mail/nested/Group/Deep");
  EXPECT_EQ(told("/mail/nested/Group").mailboxes, std::set<std::string>{nested_});
  makeFolder("/mail/nested/Group/Deep/Deeper");
  EXPECT_EQ(told("/mail/nested/Group/Deep").mailboxes, std::set<std::string>{nested_});
  elsewhere("/mail/nested", "/mail/away");
  EXPECT_EQ(told("/mail/nested").mailboxes, std::set<std::string>{nested_});
  elsewhere("/mail/away", "/mail/nested");
  EXPECT_EQ(told("/mail/nested").mailboxes, std::set<std::string>{nested_});
  {
    // Another process of the same profile.
    const auto environment = this->environment();
    MailClient other(environment);
    ASSERT_TRUE(other.removeAccount("Nested"));
  }
  const auto change = told("/profile/mail");
  EXPECT_TRUE(change.accounts);
  EXPECT_EQ(change.mailboxes, std::set<std::string>{nested_});
}

TEST_F(FollowerTest, OnlyWhatChangedIsToldAndNothingIsWrittenForNothing) {
  const auto before = disk.tree("/");
  files.reset();
  for (const auto* directory : {"/mail/plus", "/mail/nested", "/mail/nested/Group", "/profile/mail"}) {
    EXPECT_TRUE(told(directory).isEmpty()) << directory;
    EXPECT_TRUE(changes_.empty()) << directory;
  }
  // A write would be a change of the watched folder, and tell of itself for ever.
  EXPECT_EQ(files.steps(), 0U);
  EXPECT_EQ(disk.tree("/"), before);
  const auto asked = watcher_.asked;
  told("/mail/plus");
  EXPECT_EQ(watcher_.asked, asked) << "what is watched is not watched again";
  follower_->show({{nested_, "INBOX"}});
  deliver("/mail/nested/INBOX", "x", "", "new");
  EXPECT_EQ(told("/mail/nested/INBOX/new").messages, (std::set<MailboxKey>{{nested_, "INBOX"}}));
}

TEST_F(FollowerTest, AnAccountWhoseDiskIsAwayKeepsItsSelection) {
  elsewhere("/mail/plus", "/mail/unplugged");
  const auto change = told("/mail/plus");
  EXPECT_FALSE(change.views);
  EXPECT_EQ(change.mailboxes, std::set<std::string>{plus_});
  EXPECT_TRUE(client().selection()->empty());
  elsewhere("/mail/unplugged", "/mail/plus");
  told("/mail/plus");
  EXPECT_EQ(client().selection()->size(), 3U);
}

TEST_F(FollowerTest, WithoutWatchesThatIsSaidOnceAndTheNextLookSees) {
  ManualDirectoryWatcher none;
  none.failWatches(28);
  const StoreFollower blind(client(), none, [](const StoreChange&) {});
  EXPECT_EQ(log.lines(LogLevel::error).size(), 1U);
  elsewhere("/mail/plus/cur/" + nameOf("a"), "/mail/plus/.Old/cur/" + nameOf("a"));
  EXPECT_EQ(selectedPlaces()[0], "Plus:Old:a");
}

}  // namespace
}  // namespace quillbox::mailclient
