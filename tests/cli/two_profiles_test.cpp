// Two profiles that share a folder, each driven by real processes, both at the same time.
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "program.h"
#include "store.h"
#include "support/sanitized.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kSteps = kSanitized ? 100 : 500;
constexpr int kOwnEvery = 25;  // the step in which a profile adds a mailbox that only it touches

class TwoProfiles : public testing::Test {
 protected:
  TwoProfiles() {
    store_.folder("Work");
    for (const char* shared : {"a", "b", "c", "d", "e", "f"})
      store_.folder("Work", std::string(".") + shared);
    for (const std::string profile : {"A", "B"}) {
      for (int step = 0; step < kSteps; step += kOwnEvery)
        store_.folder("Work", "." + profile + std::to_string(step));
      fs::create_directory(store_.root / profile);
      for (const auto& words :
           std::vector<std::vector<std::string>>{{"mail", "add", "Work", (store_.mail() / "Work").string()},
                                                 {"settings", "set", "cloudFolder", folder_.string()},
                                                 {"settings", "set", "enableFavoritesSync", "true"}}) {
        const auto ended = quill(profile, words);
        EXPECT_EQ(ended.status, 0) << ended.err;
      }
    }
  }

  Ended quill(const std::string& profile, std::vector<std::string> words) const {
    words.insert(words.begin(), {"--profile", (store_.root / profile).string()});
    return runQuillboxctl(words);
  }

  // One life of edits and syncs, a process each. What went wrong, or nothing.
  std::string live(const std::string& profile, unsigned seed) const {
    std::mt19937 chance(seed);
    const auto oneIn = [&](unsigned n) { return chance() % n == 0; };
    for (int step = 0; step < kSteps; ++step) {
      const std::string shared = "Work/" + std::string(1, static_cast<char>('a' + chance() % 6));
      std::vector<std::string> words{"sync-favorites"};
      if (step % kOwnEvery == 0) {
        words = {"favorites", "add", "Work/" + profile + std::to_string(step)};
      } else if (oneIn(4)) {
        words = {"favorites", "add", shared};
      } else if (oneIn(4)) {
        words = {"favorites", "remove", shared};
      }
      const auto ended = quill(profile, words);
      const bool hadNothingToRemove = words[1 % words.size()] == "remove" &&
                                      ended.err.find("is not among the favorites") != std::string::npos;
      if ((ended.status != 0 && !hadNothingToRemove) || (ended.status == 0 && !ended.err.empty()))
        return profile + " step " + std::to_string(step) + ": " + ended.err;
    }
    return "";
  }

  std::string state(const std::string& profile) const {
    std::ifstream in(store_.root / profile / "settings.json");
    return json::parse(in)["favoriteMailboxSyncStateV2"].dump();
  }

  Store store_;
  const fs::path folder_ = store_.root / "shared";
};

TEST_F(TwoProfiles, AgreeAfterEachSyncedHundredsOfTimesAtOnce) {
  std::string wrong[2];
  {
    std::thread other([&] { wrong[1] = live("B", 2); });
    wrong[0] = live("A", 1);
    other.join();
  }
  EXPECT_EQ(wrong[0], "");
  EXPECT_EQ(wrong[1], "");

  // The last edit of each has reached the folder; one look at it is enough.
  const auto first = quill("A", {"--json", "sync-favorites"});
  const auto second = quill("B", {"--json", "sync-favorites"});
  EXPECT_EQ(first.out, second.out);
  EXPECT_EQ(state("A"), state("B"));
  const auto favorites = json::parse(first.out, nullptr, false);
  for (const std::string profile : {"A", "B"}) {
    for (int step = 0; step < kSteps; step += kOwnEvery) {
      const auto id = "Work/" + profile + std::to_string(step);
      EXPECT_TRUE(std::ranges::any_of(favorites, [&](const json& row) { return row["id"] == id; }))
          << id << " was lost";
    }
  }

  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(store_.root)) {
    EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
    if (entry.path().parent_path() == folder_) ++files;
  }
  EXPECT_EQ(files, 3U) << "a state for each profile, and the plain list";
}

}  // namespace
}  // namespace quillbox
