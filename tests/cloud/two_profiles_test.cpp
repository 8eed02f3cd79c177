// Real processes on real files: two profiles with two processes each, one folder between them.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/linux/clock.h"
#include "host/linux/cloud_folder.h"
#include "host/linux/file_system.h"
#include "host/linux/user_defaults_file.h"
#include "mailboxes/favorite_mailbox_manager.h"
#include "settings/user_settings.h"
#include "support/fakes.h"
#include "support/manual_directory_watcher.h"
#include "support/sanitized.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;

constexpr int kSteps = kSanitized ? 100 : 500;

Mailbox box(const std::string& path) {
  return Mailbox::make(path, path, "Work");
}

// The favourites of one profile as the program composes them.
class Program {
 public:
  Program(const Path& profile, const Path& folder)
      : defaults_(files_, random_, log_, profile / "settings.json"),
        settings_(defaults_, log_),
        cloud_({files_, watcher_, random_, clock_, log_}, folder),
        favorites(settings_, notifications_, [this, profile] {
          return std::make_unique<FavoriteMailboxSync>(FavoriteMailboxSync::Ports{
              defaults_, cloud_, random_, log_, [this, profile] {
                return files_.lock(profile / "favorites-sync.lock", std::chrono::seconds(60));
              }});
        }) {
    (void)settings_.enableFavoritesSync.set(true);
    favorites.synchronize();
  }

  std::string state() const {
    return std::get<Data>(*defaults_.stored(FavoriteMailboxSyncStore::kStateKey)).bytes;
  }
  std::vector<std::string> errors() const { return log_.lines(LogLevel::error); }

 private:
  LinuxFileSystem files_;
  SystemClock clock_;
  SystemRandomSource random_;
  RecordingLog log_;
  ManualDirectoryWatcher watcher_;
  NotificationCenter notifications_;
  FileUserDefaults defaults_;
  UserSettings settings_;
  CloudFolder cloud_;

 public:
  FavoriteMailboxManager favorites;
};

// Adds and removes what others add and remove too, and adds what nobody else touches. Returns the exit
// status.
int live(const Path& profile, const Path& folder, const std::string& name, unsigned seed) {
  std::mt19937 chance(seed);
  const auto oneIn = [&](unsigned n) { return chance() % n == 0; };
  auto program = std::make_unique<Program>(profile, folder);
  for (int step = 0; step < kSteps; ++step) {
    if (oneIn(100)) program = std::make_unique<Program>(profile, folder);
    const auto shared = box(std::string(1, static_cast<char>('a' + chance() % 8)));
    if (step % 25 == 0) {
      if (!program->favorites.add(box(name + std::to_string(step))).value_or(false)) return 1;
    } else if (oneIn(4)) {
      if (!program->favorites.add(shared)) return 2;
    } else if (oneIn(4)) {
      if (!program->favorites.remove(shared)) return 3;
    } else {
      program->favorites.synchronize();
    }
  }
  return program->errors().empty() ? 0 : 4;
}

TEST(TwoProfiles, AgreeAfterFourProcessesSyncedHundredsOfTimesAtOnce) {
  const TemporaryDirectory home(memoryOrTemporaryDirectory());
  const auto folder = home / "shared";
  const std::vector<std::string> names = {"A1-", "A2-", "B1-", "B2-"};
  const auto profileOf = [&](const std::string& name) { return home / name.substr(0, 1); };
  for (const char* profile : {"A", "B"}) fs::create_directory(home / profile);

  std::vector<pid_t> children;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) ::_exit(live(profileOf(names[i]), folder, names[i], static_cast<unsigned>(i)));
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }

  Program one(home / "A", folder);
  Program two(home / "B", folder);
  one.favorites.synchronize();
  EXPECT_EQ(one.state(), two.state());
  EXPECT_EQ(one.favorites.mailboxes.get(), two.favorites.mailboxes.get());
  for (const auto& name : names) {
    for (int step = 0; step < kSteps; step += 25)
      EXPECT_TRUE(one.favorites.contains("Work/" + name + std::to_string(step)))
          << name << step << " was lost";
  }
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(home.path())) {
    if (entry.is_regular_file()) files.push_back(fs::relative(entry.path(), home.path()).string());
  }
  EXPECT_EQ(std::ranges::count_if(files, [](const auto& file) { return file.ends_with(".tmp"); }), 0);
  EXPECT_EQ(std::ranges::count_if(files, [](const auto& file) { return file.starts_with("shared"); }), 3)
      << "a state for each profile, and the plain list";
}

}  // namespace
}  // namespace quillbox
