#include "host/linux/user_defaults_file.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/error_numbers.h"
#include "host/linux/clock.h"
#include "host/linux/file_system.h"
#include "settings/user_settings.h"
#include "support/fakes.h"
#include "support/faulty_file_system.h"
#include "support/memory_file_system.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

using testing::ElementsAre;

const Path kFile = "/p/settings.json";

struct Store {
  MemoryFileSystem disk;
  FaultyFileSystem files{disk};
  FixedRandomSource random;
  RecordingLog log;

  std::unique_ptr<FileUserDefaults> open() {
    return std::make_unique<FileUserDefaults>(files, random, log, kFile);
  }
};

TEST(FileUserDefaults, EveryTypeComesBackAsItselfAndTheFileIsForPeople) {
  Store store;
  const std::map<std::string, DefaultsValue> values = {
      {"flag", true},
      {"small", std::int64_t{1}},
      {"least", std::numeric_limits<std::int64_t>::min()},
      {"real", 12.0},
      {"tiny", -1.5e-300},
      {"text", std::string("Ünïcode \"q\" \\ \n")},
      {"looksLikeData", std::string(R"({"json":[]})")},
      {"list", Data{R"([{"name":"I","path":"I","account":"A"}])"}},
      {"spaced", Data{R"([ 1 ])"}},
      {"bytes", Data{std::string("\0\xFF{", 3)}},
      {"nothing", Data{""}},
  };
  EXPECT_TRUE(store.open()->setAll(values));
  const auto defaults = store.open();
  for (const auto& [key, value] : values) EXPECT_EQ(defaults->stored(key), value) << key;
  EXPECT_EQ(store.disk.bytes(kFile), R"({
  "bytes": {
    "base64": "AP97"
  },
  "flag": true,
  "least": -9223372036854775808,
  "list": {
    "json": [
      {
        "name": "I",
        "path": "I",
        "account": "A"
      }
    ]
  },
  "looksLikeData": "{\"json\":[]}",
  "nothing": {
    "base64": ""
  },
  "real": 12.0,
  "small": 1,
  "spaced": {
    "base64": "WyAxIF0="
  },
  "text": "Ünïcode \"q\" \\ \n",
  "tiny": -1.5e-300
}
)");
  EXPECT_EQ(store.disk.info(kFile)->permissions, 0600U);
  EXPECT_TRUE(store.log.lines().empty());
  EXPECT_EQ(defaults->set("x", std::nan("")).error().number, error_number::settingValueInvalid);
  EXPECT_EQ(defaults->set("x", std::string("\xFF")).error().number, error_number::textNotUtf8);
  EXPECT_EQ(defaults->set("\xFF", true).error().number, error_number::textNotUtf8);
  EXPECT_EQ(defaults->stored("x"), std::nullopt);
}

TEST(FileUserDefaults, RegistersRemovesNotifiesAndWritesOnlyDifferences) {
  Store store;
  auto defaults = store.open();
  std::vector<std::string> changed;
  const auto subscription = defaults->observe([&](const std::string& key) { changed.push_back(key); });
  defaults->registerDefaults({{"a", std::int64_t{5}}});
  EXPECT_EQ(defaults->get("a"), DefaultsValue(std::int64_t{5}));
  EXPECT_EQ(defaults->stored("a"), std::nullopt);
  EXPECT_FALSE(store.disk.exists(kFile));
  EXPECT_TRUE(defaults->set("a", std::int64_t{5}));  // equal to the registered one, stored all the same
  EXPECT_EQ(defaults->stored("a"), DefaultsValue(std::int64_t{5}));
  const auto steps = store.files.steps();
  EXPECT_TRUE(defaults->set("a", std::int64_t{5}));
  EXPECT_TRUE(defaults->remove("b"));
  EXPECT_EQ(store.files.steps(), steps);
  EXPECT_TRUE(defaults->remove("a"));
  EXPECT_EQ(defaults->get("a"), DefaultsValue(std::int64_t{5}));
  EXPECT_THAT(changed, ElementsAre("a", "a"));

  auto other = store.open();
  EXPECT_TRUE(other->set("b", true));
  EXPECT_TRUE(other->set("c", true));
  EXPECT_EQ(defaults->stored("b"), std::nullopt);
  changed.clear();
  EXPECT_TRUE(defaults->set("d", true));  // brings the other's along
  EXPECT_THAT(changed, ElementsAre("b", "c", "d"));
  changed.clear();
  EXPECT_TRUE(other->remove("c"));
  EXPECT_TRUE(other->set("a", std::string("again")));
  defaults->synchronize();
  defaults->synchronize();
  EXPECT_THAT(changed, ElementsAre("a", "c"));
  EXPECT_TRUE(other->setAll({{"a", true}, {"e", true}}));
  EXPECT_TRUE(defaults->setAll({{"a", false}, {"b", false}, {"e", false}}, Overwrite::unchangedOnly));
  EXPECT_EQ(defaults->stored("a"), DefaultsValue(true));
  EXPECT_EQ(defaults->stored("b"), DefaultsValue(false));
  EXPECT_EQ(defaults->stored("e"), DefaultsValue(true));
  // A stale equal value is written: the other's is not what this one believes.
  EXPECT_TRUE(other->set("d", false));
  EXPECT_TRUE(defaults->set("d", true));
  EXPECT_EQ(store.open()->stored("d"), DefaultsValue(true));
}

TEST(FileUserDefaults, AfterACrashAtAnyStepTheFileHoldsTheOldOrTheNew) {
  int crashes = 0;
  for (const auto torn : {FaultyFileSystem::Torn::no, FaultyFileSystem::Torn::half}) {
    for (const bool powerLost : {false, true}) {
      for (std::uint64_t step = 1;; ++step) {
        Store store;
        ASSERT_TRUE(store.open()->set("a", std::string("old")));
        auto defaults = store.open();
        store.files.reset();
        store.files.crashAtStep(step, torn);
        const auto done = defaults->set("a", std::string("new"));
        if (!store.files.crashed()) {
          EXPECT_TRUE(done);
          EXPECT_GT(step, 3U);
          break;
        }
        ++crashes;
        EXPECT_FALSE(done);
        EXPECT_EQ(defaults->stored("a"), DefaultsValue(std::string("old")));
        store.files.reset();
        if (powerLost) store.disk.losePower();
        auto next = store.open();
        const auto value = next->stored("a");
        EXPECT_TRUE(value == DefaultsValue(std::string("old")) || value == DefaultsValue(std::string("new")));
        EXPECT_TRUE(store.log.lines().empty());
        EXPECT_TRUE(next->set("b", true));
        EXPECT_THAT(store.disk.tree("/p"), ElementsAre("/p/settings.json", "/p/settings.json.lock"))
            << "a draft was left behind";
        EXPECT_EQ(next->stored("a"), value);
      }
    }
  }
  EXPECT_GE(crashes, 12);
}

TEST(FileUserDefaults, AFullDiskAtAnyStepChangesNothing) {
  for (std::uint64_t step = 1; step <= 4; ++step) {
    Store store;
    auto defaults = store.open();
    ASSERT_TRUE(defaults->set("a", std::int64_t{1}));
    const auto before = store.disk.bytes(kFile);
    std::vector<std::string> changed;
    const auto subscription = defaults->observe([&](const std::string& key) { changed.push_back(key); });
    store.files.reset();
    store.files.failStep(step, ENOSPC);
    const auto failed = defaults->set("a", std::int64_t{2});
    ASSERT_FALSE(failed) << step;
    EXPECT_EQ(failed.error().number, ENOSPC);
    EXPECT_EQ(store.disk.bytes(kFile), before);
    EXPECT_EQ(defaults->stored("a"), DefaultsValue(std::int64_t{1}));
    EXPECT_TRUE(changed.empty());
    EXPECT_EQ(store.disk.tree("/p").size(), 2U) << "a draft was left behind";
    EXPECT_TRUE(defaults->set("a", std::int64_t{2}));
  }
}

TEST(FileUserDefaults, ADamagedFileIsKeptAsideAndAnUnreadableOneIsLeftAlone) {
  for (const std::string damaged :
       {"{", "[]", "nonsense", "{\"a\":1}trailing", "\xFF\xFE", "null", "{\"a\":\"\xC3\"}"}) {
    Store store;
    store.disk.put(kFile, damaged);
    auto defaults = store.open();
    defaults->registerDefaults({{"a", true}});
    EXPECT_EQ(defaults->get("a"), DefaultsValue(true));
    EXPECT_EQ(store.disk.bytes("/p/settings.json.damaged"), damaged);
    ASSERT_EQ(store.log.lines().size(), 1U);
    EXPECT_TRUE(store.log.contains("kept as /p/settings.json.damaged")) << store.log.lines()[0];
    EXPECT_TRUE(defaults->set("b", false));
    EXPECT_EQ(store.open()->stored("b"), DefaultsValue(false));
    // Damaged once more, under a running program: what it knows is merged into nothing, and both copies stay.
    store.disk.put(kFile, "}");
    EXPECT_TRUE(defaults->set("c", true));
    EXPECT_EQ(store.disk.bytes("/p/settings.json.damaged-2"), "}");
    EXPECT_EQ(store.disk.bytes("/p/settings.json.damaged"), damaged);
  }

  Store store;
  store.disk.put(kFile, "{\"a\":1}");
  store.files.failReadsWhen([](const FaultyFileSystem::Step& step) -> std::optional<int> {
    if (step.operation == "read") return EACCES;
    return std::nullopt;
  });
  auto defaults = store.open();
  defaults->synchronize();
  EXPECT_EQ(store.log.lines().size(), 1U);
  EXPECT_EQ(defaults->set("b", true).error().number, EACCES);
  EXPECT_EQ(store.disk.bytes(kFile), "{\"a\":1}");
  store.files.reset();
  EXPECT_TRUE(defaults->set("b", true));
  EXPECT_EQ(defaults->stored("a"), DefaultsValue(std::int64_t{1}));
}

TEST(FileUserDefaults, InAReadOnlyFolderReadingWorksAndChangesFail) {
  Store store;
  store.disk.put(kFile, "{\"a\":true}");
  store.disk.putDirectory("/p", 0500);
  auto defaults = store.open();
  EXPECT_EQ(defaults->stored("a"), DefaultsValue(true));
  EXPECT_EQ(defaults->set("a", false).error().number, EACCES);
  EXPECT_EQ(defaults->stored("a"), DefaultsValue(true));
  UserSettings settings(*defaults, store.log);  // its writing back fails; the values are right
  EXPECT_TRUE(settings.keepOpenAfterFiling.get());
  EXPECT_EQ(settings.floatingCollectionBehavior.get(), 66U);
  EXPECT_FALSE(settings.beepAfterFiling.set(true));
  EXPECT_FALSE(settings.beepAfterFiling.get());

  Store damaged;
  damaged.disk.put(kFile, "{");
  damaged.disk.putDirectory("/p", 0500);
  auto other = damaged.open();
  ASSERT_EQ(damaged.log.lines().size(), 1U);
  EXPECT_TRUE(damaged.log.contains("can’t be kept aside"));
  EXPECT_FALSE(other->set("a", true));
  EXPECT_EQ(damaged.disk.bytes(kFile), "{");
}

TEST(FileUserDefaults, ValuesOfUnknownFormStayInTheFile) {
  Store store;
  store.disk.put(
      kFile,
      R"({"huge":18446744073709551615,"list":[1,{"x":null}],"none":null,"odd":{"base64":"?"},"ok":1})");
  auto defaults = store.open();
  EXPECT_EQ(store.log.lines().size(), 4U);
  EXPECT_EQ(defaults->stored("ok"), DefaultsValue(std::int64_t{1}));
  EXPECT_EQ(defaults->stored("list"), std::nullopt);
  EXPECT_TRUE(defaults->setAll({{"huge", true}}, Overwrite::unchangedOnly));
  EXPECT_TRUE(defaults->remove("none"));
  EXPECT_TRUE(defaults->set("odd", true));  // what stood there is not lost
  EXPECT_EQ(store.disk.bytes(kFile), R"({
  "huge": 18446744073709551615,
  "list": [
    1,
    {
      "x": null
    }
  ],
  "odd": true,
  "odd.unreadable": {
    "base64": "?"
  },
  "ok": 1
}
)");
  defaults->synchronize();
  EXPECT_EQ(store.log.lines().size(), 5U);
}

TEST(FileUserDefaults, ALinkedFileIsReplacedWhereItLies) {
  Store store;
  store.disk.put("/dotfiles/quillbox.json", "{}");
  store.disk.putLink(kFile, "../dotfiles/quillbox.json");
  EXPECT_TRUE(store.open()->set("a", true));
  EXPECT_EQ(store.disk.info(kFile, FollowLinks::no)->kind, FileKind::symbolicLink);
  EXPECT_EQ(store.open()->stored("a"), DefaultsValue(true));
}

TEST(FileUserDefaults, AnyGarbageIsSurvivedAndNothingOfItIsLost) {
  EXPECT_TRUE(rc::check("open, set, open again over damaged files", [] {
    Store store;
    RC_ASSERT(store.open()
                  ->setAll({{"flag", true},
                            {"list", Data{R"([{"name":"I","path":"I","account":"A"}])"}},
                            {"real", 0.5},
                            {"text", std::string("tail")}})
                  .has_value());
    std::string bytes = store.disk.bytes(kFile);
    for (int hits = *rc::gen::inRange(1, 6); hits > 0; --hits) {
      const auto at = *rc::gen::inRange<std::size_t>(0, bytes.size() + 1);
      switch (*rc::gen::inRange(0, 4)) {
        case 0:
          bytes.resize(at);
          break;
        case 1:
          bytes.insert(at, *rc::gen::arbitrary<std::string>());
          break;
        case 2:
          bytes.insert(at, *rc::gen::elementOf(
                               std::vector<std::string>{"{", "]", "\"", "null", "1e999", "\\u0000", ","}));
          break;
        default:
          if (at < bytes.size()) bytes[at] = *rc::gen::arbitrary<char>();
      }
    }
    store.disk.put(kFile, bytes);
    auto defaults = store.open();
    UserSettings settings(*defaults, store.log);
    RC_ASSERT(defaults->set("probe", std::int64_t{42}).has_value());
    RC_ASSERT(store.open()->stored("probe") == DefaultsValue(std::int64_t{42}));
    bool damagedNow = false;
    for (const auto& path : store.disk.tree("/p")) {
      if (path.find(".damaged") != std::string::npos) {
        damagedNow = true;
        RC_ASSERT(store.disk.bytes(path) == bytes);
      }
    }
    RC_CLASSIFY(damagedNow, "kept aside");
    RC_ASSERT(store.log.contains("kept as") == damagedNow);
  }));
}

// Both write keys of their own, and both write one that they share.
void hammer(FileSystem& files, const Path& file, const std::string& who, int rounds) {
  SystemRandomSource random;
  RecordingLog log;
  FileUserDefaults defaults(files, random, log, file);
  for (int i = 0; i < rounds; ++i) {
    const auto own = defaults.set(who + std::to_string(i % 20), std::int64_t{i});
    if (!own) fatal(own.error().message);
    if (const auto shared = defaults.set("shared", who); !shared) fatal(shared.error().message);
    if (i % 7 == 0) defaults.synchronize();
  }
  if (!log.lines().empty()) fatal(log.lines()[0]);
}

void expectAllWrites(FileSystem& files, const Path& file, const std::vector<std::string>& writers,
                     int rounds) {
  FixedRandomSource random;
  RecordingLog log;
  FileUserDefaults defaults(files, random, log, file);
  for (const auto& who : writers) {
    for (int i = rounds - 20; i < rounds; ++i)
      EXPECT_EQ(defaults.stored(who + std::to_string(i % 20)), DefaultsValue(std::int64_t{i})) << who << i;
  }
  EXPECT_TRUE(defaults.stored("shared").has_value());
  EXPECT_TRUE(log.lines().empty());
}

TEST(FileUserDefaults, ProcessesLoseNoWriteOfEachOther) {
  constexpr int rounds = 150;
  LinuxFileSystem files;
  const TemporaryDirectory directory(memoryOrTemporaryDirectory());
  std::vector<std::string> writers = {"parent", "child1-", "child2-"};
  std::vector<pid_t> children;
  for (std::size_t i = 1; i < writers.size(); ++i) {
    const pid_t child = ::fork();
    if (child == 0) {
      hammer(files, directory / "settings.json", writers[i], rounds);
      ::_exit(0);
    }
    children.push_back(child);
  }
  hammer(files, directory / "settings.json", writers[0], rounds);
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  expectAllWrites(files, directory / "settings.json", writers, rounds);
  int entries = 0;
  EXPECT_TRUE(files.list(directory.path(), [&](std::string_view, FileKind) { return ++entries > 0; }));
  EXPECT_EQ(entries, 2) << "drafts were left behind";
}

TEST(FileUserDefaults, ThreadsWithObjectsOfTheirOwnLoseNoWrite) {
  constexpr int rounds = 60;
  MemoryFileSystem files;
  files.putDirectory("/p");
  const std::vector<std::string> writers = {"one", "two", "three"};
  std::vector<std::thread> threads;
  for (const auto& who : writers) threads.emplace_back([&] { hammer(files, kFile, who, rounds); });
  for (auto& thread : threads) thread.join();
  expectAllWrites(files, kFile, writers, rounds);
}

}  // namespace
}  // namespace quillbox
