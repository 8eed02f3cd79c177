// The cloud store as a folder, and everything that a file synchroniser, a crash or a full disk may do to it.
#include "host/linux/cloud_folder.h"

#include <cerrno>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "support/fakes.h"
#include "support/faulty_file_system.h"
#include "support/manual_directory_watcher.h"
#include "support/manual_dispatch.h"
#include "support/memory_file_system.h"

namespace quillbox {
namespace {

const Path kFolder = "/profile/cloud";
const std::string kKey = "favoriteMailboxChangesV2.3F25A0";
const std::string kName = "kv-favorite_mailbox_changes_v2.3_f25_a0.quillbox";

class Cloud : public testing::Test {
 protected:
  Cloud() { disk_.putDirectory(kFolder.parent_path()); }

  CloudFolder make() { return {{files_, watcher_, random_, clock_, log_}, kFolder}; }
  Path at(const std::string& name) const { return kFolder / name; }
  std::string whole(const DefaultsValue& value, const std::string& key = kKey) {
    return *encodeCloudFile(key, value);
  }

  ManualClock clock_;
  MemoryFileSystem disk_{&clock_};
  FaultyFileSystem files_{disk_};
  ManualDirectoryWatcher watcher_;
  FixedRandomSource random_;
  RecordingLog log_;
};

TEST_F(Cloud, KeysBecomeNamesThatNoFileSystemConfuses) {
  EXPECT_EQ(cloudFileName(kKey), kName);
  EXPECT_EQ(cloudFileName("con"), "kv-con.quillbox");
  EXPECT_EQ(cloudFileName("../a b_Ä\n"), "kv-..=2fa=20b=5f=c3=84=0a.quillbox");
  EXPECT_TRUE(rc::check("distinct keys have distinct lower-case names", [] {
    const auto letter = rc::gen::element('a', 'A', '_', '=', '5', 'f', '.', '-', '\0', '\xC3', '/');
    const auto one = *rc::gen::container<std::string>(letter);
    const auto two = *rc::gen::container<std::string>(letter);
    RC_ASSERT((cloudFileName(one) == cloudFileName(two)) == (one == two));
    for (const char c : cloudFileName(one))
      RC_ASSERT((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || std::string("-_.=").contains(c));
  }));
}

TEST_F(Cloud, EveryKindOfValueComesBack) {
  const std::vector<DefaultsValue> values = {true,
                                             false,
                                             std::int64_t{0},
                                             std::numeric_limits<std::int64_t>::min(),
                                             std::numeric_limits<std::int64_t>::max(),
                                             0.1,
                                             -1e-300,
                                             2.0,
                                             std::string(""),
                                             std::string("Zeile\nü"),
                                             Data{""},
                                             Data{std::string("\0\xFF\n{}", 5)}};
  auto cloud = make();
  CloudValues expected;
  for (std::size_t i = 0; i < values.size(); ++i) {
    expected["Key" + std::to_string(i)] = values[i];
    ASSERT_TRUE(cloud.set("Key" + std::to_string(i), values[i]));
  }
  EXPECT_EQ(make().readAll(), expected);
  EXPECT_EQ(disk_.info(at("kv-_key0.quillbox"), FollowLinks::no)->permissions, 0600U);

  const auto steps = files_.steps();
  for (const auto& [key, value] : expected) ASSERT_TRUE(cloud.set(key, value));
  EXPECT_EQ(files_.steps(), steps) << "what is there is not written again";

  const struct {
    std::string key;
    DefaultsValue value;
    int error;
  } refused[] = {{"", true, EINVAL},
                 {std::string(65, 'k'), true, ENAMETOOLONG},
                 {"\xFF", true, EINVAL},
                 {"nan", std::numeric_limits<double>::quiet_NaN(), EINVAL},
                 {"large", Data{std::string(CloudFolder::kLargestFile, 'x')}, EFBIG}};
  for (const auto& [key, value, error] : refused)
    EXPECT_EQ(cloud.set(key, value).error().number, error) << key;
  EXPECT_TRUE(cloud.set(std::string(64, 'K'), true));
  EXPECT_EQ(files_.steps(), steps + 5) << "create, write, sync, rename, sync of the folder";
}

// Whatever lies in the folder, the whole values in it are read and nothing else, and the folder is left
// alone.
TEST_F(Cloud, WhatSynchronisersLeaveBehindIsPassedOver) {
  const auto good = whole(Data{"{\"version\":2}"});
  std::vector<std::pair<std::string, std::string>> strange;  // name and bytes
  for (std::size_t length = 0; length < good.size(); ++length)
    strange.emplace_back(cloudFileName("cut" + std::to_string(length)), good.substr(0, length));
  const auto own = [&](const std::string& key) { return whole(Data{"{\"version\":2}"}, key); };
  auto torn = own("torn");
  torn[torn.size() - 3] ^= 1;
  auto padded = own("padded") + std::string(100, '\0');
  auto zeroed = own("zeroed");
  zeroed.replace(zeroed.size() - 5, 5, std::string(5, '\0'));
  const std::string header = "quillbox-cloud 1 ";
  strange.insert(
      strange.end(),
      {{cloudFileName("torn"), torn},
       {cloudFileName("padded"), padded},
       {cloudFileName("zeroed"), zeroed},
       {cloudFileName("foreign"), "Hello"},
       {cloudFileName("header"), header + std::string(100'000, '{')},
       {cloudFileName("header2"), header + "{\"key\":1}\n"},
       {cloudFileName("header3"), header + "[]\nx"},
       {cloudFileName("version2"), "quillbox-cloud 2" + own("version2").substr(16)},
       {cloudFileName("otherKey"), own("thatKey")},
       {"kv-favorite_mailbox_changes_v2.3_f25_a0 (conflicted copy 2025-01-01).quillbox", good},
       {"kv-favorite_mailbox_changes_v2.3_f25_a0.sync-conflict-20250101-120000-ABCDEFG.quillbox", good},
       {"kv-favorite_mailbox_changes_v2.3_f25_a0.quillbox~", good},
       {".kv-favorite_mailbox_changes_v2.3_f25_a0.quillbox.part", good},
       {kName + ".0011.tmp", good},
       {"notes.txt", "mine"},
       {cloudFileName("large"), std::string(CloudFolder::kLargestFile + 1, 'x')},
       {cloudFileName("huge"), std::string(100U << 20U, 'x')}});
  for (const auto& [name, bytes] : strange) disk_.put(at(name), bytes);
  disk_.putDirectory(at(cloudFileName("directory")));
  disk_.putLink(at(cloudFileName("dangling")), "/nowhere");
  disk_.put("/elsewhere", own("link"));
  disk_.putLink(at(cloudFileName("link")), "/elsewhere");
  disk_.put(at("KV-LOUD.QUILLBOX"), own("loud"));
  disk_.put(at(kName), good);
  disk_.put(at(cloudFileName("unreadable")), own("unreadable"));
  files_.failReadsWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
    if (step.path == at(cloudFileName("unreadable"))) return EIO;
    return std::nullopt;
  });

  const auto before = disk_.tree(kFolder);
  auto cloud = make();
  const DefaultsValue value = Data{"{\"version\":2}"};
  EXPECT_EQ(cloud.readAll(), (CloudValues{{kKey, value}, {"link", value}, {"loud", value}}));
  EXPECT_TRUE(log_.contains("checksum"));
  EXPECT_TRUE(log_.contains("conflicted copy"));
  const auto complaints = log_.lines().size();
  EXPECT_EQ(cloud.readAll().size(), 3U);
  EXPECT_EQ(log_.lines().size(), complaints) << "each file is complained of once";
  cloud.synchronize();
  EXPECT_EQ(disk_.tree(kFolder), before);
}

TEST_F(Cloud, AValueIsOldOrNewAfterAStopAtAnyStep) {
  const DefaultsValue old = Data{"old"};
  const DefaultsValue fresh = Data{"new and longer"};
  for (const auto torn : {FaultyFileSystem::Torn::no, FaultyFileSystem::Torn::half}) {
    for (std::uint64_t step = 1;; ++step) {
      MemoryFileSystem disk(&clock_);
      disk.put(at(kName), whole(old));
      FaultyFileSystem files(disk);
      files.crashAtStep(step, torn);
      CloudFolder cloud({files, watcher_, random_, clock_, log_}, kFolder);
      const auto done = cloud.set(kKey, fresh);
      const bool finished = !files.crashed();
      EXPECT_EQ(done.has_value(), finished);
      disk.losePower();
      CloudFolder restarted({disk, watcher_, random_, clock_, log_}, kFolder);
      const auto values = restarted.readAll();
      ASSERT_EQ(values.size(), 1U);
      const auto& value = values.at(kKey);
      EXPECT_TRUE(value == fresh || (value == old && !finished)) << "step " << step;
      restarted.synchronize();
      const auto drafts = disk.tree(kFolder).size() - 1;
      clock_.advance(std::chrono::minutes(61));
      restarted.synchronize();
      EXPECT_EQ(disk.tree(kFolder).size(), 1U) << drafts << " drafts before";
      if (finished) break;
    }
  }
}

TEST_F(Cloud, AFailedWriteKeepsTheOldValueAndLeavesNoDraft) {
  auto cloud = make();
  ASSERT_TRUE(cloud.set(kKey, true));
  for (std::uint64_t step = 1; step <= 4; ++step) {
    files_.reset();
    files_.failStep(step, ENOSPC);
    const auto done = cloud.set(kKey, Data{std::to_string(step)});
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().number, ENOSPC);
    EXPECT_EQ(make().readAll(), (CloudValues{{kKey, true}}));
    EXPECT_EQ(disk_.tree(kFolder), (std::vector<std::string>{at(kName)}));
  }
}

TEST_F(Cloud, AFolderThatIsMissingReadOnlyOrVanishes) {
  auto cloud = make();
  EXPECT_TRUE(cloud.readAll().empty());
  cloud.synchronize();
  EXPECT_FALSE(disk_.exists(kFolder)) << "looking makes nothing";
  ASSERT_TRUE(cloud.set(kKey, true));
  EXPECT_EQ(disk_.info(kFolder, FollowLinks::no)->permissions, 0700U);
  ASSERT_TRUE(disk_.setPermissions(kFolder, 0500));
  EXPECT_EQ(cloud.set(kKey, false).error().number, EACCES);
  EXPECT_EQ(cloud.readAll(), (CloudValues{{kKey, true}}));
  ASSERT_TRUE(disk_.setPermissions(kFolder, 0));
  EXPECT_TRUE(cloud.readAll().empty());
  EXPECT_TRUE(log_.contains("Permission denied"));
  ASSERT_TRUE(disk_.setPermissions(kFolder, 0700));
  ASSERT_TRUE(disk_.remove(at(kName)));
  ASSERT_TRUE(disk_.removeDirectory(kFolder));
  EXPECT_TRUE(cloud.readAll().empty());
  ASSERT_TRUE(cloud.set(kKey, false)) << "made again";

  // Not its parents: they may be a disk that is not mounted.
  CloudFolder away({files_, watcher_, random_, clock_, log_}, "/media/stick/favourites");
  EXPECT_EQ(away.set(kKey, true).error().number, ENOENT);
  EXPECT_FALSE(disk_.exists("/media"));
  CloudFolder none({files_, watcher_, random_, clock_, log_}, "");
  EXPECT_FALSE(none.isAvailable());
  EXPECT_TRUE(none.readAll().empty());
  EXPECT_FALSE(none.set(kKey, true));
  disk_.put("/profile/file", "x");
  CloudFolder file({files_, watcher_, random_, clock_, log_}, "/profile/file");
  EXPECT_TRUE(file.readAll().empty());
  EXPECT_EQ(file.set(kKey, true).error().number, ENOTDIR);
}

TEST_F(Cloud, TellsOfOthersChangesOnly) {
  auto cloud = make();
  ASSERT_TRUE(cloud.set("mine", std::int64_t{1}));
  disk_.put(at(cloudFileName("before")), whole(true, "before"));
  int first = 0;
  int second = 0;
  auto one = cloud.observe([&] {
    ++first;
    // An observer that reads and writes, as a sync step does.
    (void)cloud.readAll();
    (void)cloud.set("mine", std::int64_t{first + 1});
  });
  const auto two = cloud.observe([&] { ++second; });
  const auto expect = [&](int times, const char* why) {
    watcher_.tell(kFolder);
    EXPECT_EQ(first, times) << why;
    EXPECT_EQ(second, times) << why;
  };
  expect(0, "nothing happened");
  ASSERT_TRUE(cloud.set("mine", std::int64_t{5}));
  expect(0, "the echo of our own change");
  const auto theirs = whole(true, "theirs");
  disk_.put(at(cloudFileName("theirs")), theirs.substr(0, 50));
  expect(0, "not whole yet");
  disk_.put(at(cloudFileName("theirs")), theirs);
  (void)cloud.readAll();
  expect(1, "whole; that one observer read it before does not keep it from the other");
  expect(1, "the echo of what the observer wrote");
  disk_.put(at("note.txt"), "x");
  expect(1, "not ours");
  ASSERT_TRUE(disk_.remove(at(cloudFileName("theirs"))));
  expect(2, "gone");
  disk_.put(at(cloudFileName("mine")), whole(false, "mine"));
  expect(3, "our own key by someone else");
  one.reset();
  disk_.put(at(cloudFileName("mine")), whole(true, "mine"));
  watcher_.tell(kFolder);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 4);

  watcher_.failWatches(ENOSPC);
  auto blind = make();
  const auto kept = blind.observe([] {});
  EXPECT_TRUE(log_.contains("Changes in the cloud folder are seen late"));
}

}  // namespace
}  // namespace quillbox
