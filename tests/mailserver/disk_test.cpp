// The store on disks that are full, read-only, taken away, or shared with another process that files too.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/error_numbers.h"
#include "machine.h"
#include "real_store.h"
#include "support/faulty_file_system.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

// An inbox with messages m0, m1 ... and a mailbox "Done", which may lie on another disk.
class RealDisk : public testing::Test, public RealStore {
 protected:
  void makeMail(int count, const Path& disk = {}) {
    mail_ = root() / "mail";
    makeFolder(mail_);
    done_ = mail_ / ".Done";
    if (disk.empty()) {
      makeFolder(done_);
    } else {
      std::string pattern = (disk / "quillbox-mail-XXXXXX").string();
      ASSERT_NE(mkdtemp(pattern.data()), nullptr);
      away_ = pattern;
      makeFolder(away_ / "Done");
      fs::create_directory_symlink(away_ / "Done", done_);
    }
    const auto added = client()->addAccount({"A", mail_, "", AccountType::imap});
    ASSERT_TRUE(added) << added.error().message;
    account_ = added->id;
    for (int i = 0; i < count; ++i) deliver(mail_, "m" + std::to_string(i), "");
  }
  void TearDown() override {
    std::error_code ignored;
    for (const auto& folder : {mail_ / "cur", done_ / "cur"})
      fs::permissions(folder, fs::perms::owner_all, ignored);
    if (!away_.empty()) fs::remove_all(away_, ignored);
  }
  Result<std::size_t> file() {
    return fileAll(environment(), {account_, "INBOX"}, {account_, "Done"},
                   MarkChange::flag(flag::seen, true));
  }
  std::size_t countIn(const Path& folder) const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder / "cur"), fs::directory_iterator()));
  }
  // Each message is once in one of the folders, and nothing else is left.
  void expectWhole(std::size_t count) {
    std::map<std::string, std::multiset<std::string>> all = messages(mail_);
    if (!away_.empty()) {
      for (const auto& [subject, places] : messages(away_)) all[subject].insert(places.begin(), places.end());
    }
    EXPECT_EQ(all.size(), count);
    for (const auto& [subject, places] : all) {
      EXPECT_EQ(places.size(), 1U) << subject;
      EXPECT_EQ(places.begin()->find("TORN"), std::string::npos) << subject;
    }
    for (const auto& top : {mail_, away_}) {
      const auto stray = top.empty() ? std::vector<std::string>() : strayFiles(top);
      EXPECT_TRUE(stray.empty()) << stray.front();
    }
  }

  Path mail_;
  Path done_;
  Path away_;
  std::string account_;
};

// Files larger than `bytes` cannot be written while this lives: what a full disk is where none can be
// mounted.
class SizeLimit {
 public:
  explicit SizeLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  SizeLimit(const SizeLimit&) = delete;
  SizeLimit& operator=(const SizeLimit&) = delete;

 private:
  rlimit before_{};
};

// Leaves about `room` bytes on the small disk while it lives.
class Filler {
 public:
  explicit Filler(std::uint64_t room) : file_(smallDisk() / "filler") {
    std::ofstream out(file_, std::ios::binary);
    const std::string page(4096, 'f');
    while (fs::space(smallDisk()).available > room && out.write(page.data(), 4096).flush()) {
    }
  }
  ~Filler() {
    std::error_code ignored;
    fs::remove(file_, ignored);
  }
  Filler(const Filler&) = delete;
  Filler& operator=(const Filler&) = delete;

 private:
  Path file_;
};

constexpr int kCount = 30;

TEST_F(RealDisk, WhenItIsFullWhatWasFiledIsFiledAndTheRestIsUntouched) {
  ASSERT_FALSE(otherDisk().empty()) << "this machine has one writable file system only";
  makeMail(kCount, otherDisk());
  std::size_t filed = 0;
  {
    std::optional<Filler> filler;
    std::optional<SizeLimit> limit;
    if (!smallDisk().empty()) {
      filler.emplace(40'000);
    } else {
      // One message is too long to be written.
      std::ofstream(mail_ / "cur" / "1700000000.M1P1.m20:2,", std::ios::app) << std::string(4'000'000, 'x');
      limit.emplace(1'000'000);
    }
    const auto result = file();
    ASSERT_FALSE(result);
    EXPECT_TRUE(result.error().number == ENOSPC || result.error().number == EFBIG) << result.error().message;
    filed = countIn(done_);
    EXPECT_GT(filed, 0U);
    EXPECT_LT(filed, static_cast<std::size_t>(kCount));
    EXPECT_NE(result.error().message.find(fmt::format("({} messages were filed before it)", filed)),
              std::string::npos)
        << result.error().message;
    EXPECT_EQ(countIn(mail_) + filed, static_cast<std::size_t>(kCount));
    ASSERT_TRUE(client()->start());
    if (!smallDisk().empty()) expectWhole(kCount);
  }
  // With room again the rest is filed, and both filings are taken back.
  ASSERT_EQ(*file(), kCount - filed);
  EXPECT_EQ(client()->undo()->count, kCount - filed);
  EXPECT_EQ(client()->undo()->count, filed);
  EXPECT_EQ(countIn(mail_), static_cast<std::size_t>(kCount));
}

TEST_F(RealDisk, WithoutRoomForTheJournalNothingIsFiledThatItDoesNotKnow) {
  makeMail(kCount);
  // The head and a part of the plan; the plan, but not what became of it.
  for (const auto& [bytes, filed] : {std::pair(700, 0), std::pair(2000, kCount)}) {
    {
      const SizeLimit limit(static_cast<rlim_t>(bytes));
      const auto result = file();
      ASSERT_FALSE(result);
      EXPECT_NE(result.error().message.find("journal"), std::string::npos) << result.error().message;
      EXPECT_NE(result.error().message.find(filed == 0 ? "(no message was" : "(30 messages were"),
                std::string::npos)
          << result.error().message;
      EXPECT_EQ(countIn(done_), static_cast<std::size_t>(filed));
      // Nor does an undo take another filing for it.
      EXPECT_FALSE(client()->undo());
      EXPECT_EQ(countIn(done_), static_cast<std::size_t>(filed));
    }
    if (filed > 0) {
      const auto undone = client()->undo();
      ASSERT_TRUE(undone) << undone.error().message;
      EXPECT_EQ(undone->count, static_cast<std::size_t>(filed));
    }
    ASSERT_TRUE(client()->start());
    expectWhole(kCount);
    EXPECT_EQ(countIn(mail_), static_cast<std::size_t>(kCount));
    EXPECT_EQ(*file(), static_cast<std::size_t>(kCount));
    EXPECT_EQ(client()->undo()->count, static_cast<std::size_t>(kCount));
  }
}

TEST_F(RealDisk, ReadOnlyFoldersAreLeftAsTheyAre) {
  ASSERT_FALSE(otherDisk().empty());
  makeMail(kCount, otherDisk());
  for (const auto& folder : {done_ / "cur", done_ / "tmp", mail_ / "cur"}) {
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    const auto result = file();
    fs::permissions(folder, fs::perms::owner_all);
    ASSERT_FALSE(result) << folder;
    EXPECT_EQ(result.error().number, EACCES) << result.error().message;
    EXPECT_NE(result.error().message.find("no message was filed"), std::string::npos)
        << result.error().message;
    EXPECT_EQ(countIn(mail_), static_cast<std::size_t>(kCount)) << folder;
    ASSERT_TRUE(client()->start());
    expectWhole(kCount);
  }
  EXPECT_FALSE(client()->undo()) << "nothing was filed";
}

TEST_F(RealDisk, AFolderThatIsTakenAwayHalfWayIsNamed) {
  makeMail(kCount);
  FaultyFileSystem watched(files);
  int renames = 0;
  watched.beforeStep([&](const FaultyFileSystem::Step& step) {
    if (step.operation == "rename" && step.to.parent_path() == done_ / "cur" && ++renames == 10) {
      fs::rename(done_, mail_ / "Taken");
    }
  });
  const Environment own{watched, clock, random, log, root() / "profile" / "mail"};
  const auto result = fileAll(own, {account_, "INBOX"}, {account_, "Done"}, {});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().number, error_number::mailboxNotFound);
  EXPECT_NE(result.error().message.find("(9 messages were filed before it)"), std::string::npos)
      << result.error().message;
  EXPECT_EQ(countIn(mail_ / "Taken"), 9U);
  ASSERT_TRUE(client()->start());
  expectWhole(kCount);
  // It comes back, and so do the messages.
  fs::rename(mail_ / "Taken", done_);
  EXPECT_EQ(client()->undo()->count, 9U);
  EXPECT_EQ(countIn(mail_), static_cast<std::size_t>(kCount));
}

// Another reader that marks messages in both folders as fast as a server does.
class Renamer {
 public:
  Renamer(const std::vector<Path>& folders, int count) : child_(fork()) {
    if (child_ < 0) fatal("no process");
    if (child_ > 0) return;
    for (int round = 0; getppid() != 1; ++round) {
      for (int i = 0; i < count; ++i) {
        for (const auto& folder : folders) {
          const auto base = (folder / "cur").string() + fmt::format("/1700000000.M1P1.m{}:2,", i);
          const auto [before, after] = round % 2 == 0 ? std::pair("S", "RS") : std::pair("RS", "S");
          (void)std::rename((base + before).c_str(), (base + after).c_str());
        }
        usleep(50);
      }
    }
    _exit(0);
  }
  ~Renamer() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  Renamer(const Renamer&) = delete;
  Renamer& operator=(const Renamer&) = delete;

 private:
  pid_t child_;
};

// A directory that others rename in while it is read, in several pieces as it is large, shows files twice or
// not at all.
TEST_F(RealDisk, FilesThatAreRenamedAllTheTimeAreAllFoundOnce) {
  constexpr std::size_t count = 2000;
  makeMail(count);
  const Renamer renamer({mail_, done_}, count);
  const auto expectAllIn = [&](const std::string& path) {
    MailStore store(*environment_);
    const auto index = store.messages(*store.mailbox({account_, path}));
    ASSERT_TRUE(index) << index.error().message;
    std::set<std::string> ids;
    for (const auto& one : (*index)->files()) ids.emplace(stableId(one.name));
    EXPECT_EQ(ids.size(), count) << path;
    EXPECT_EQ((*index)->files().size(), count) << path;
  };
  for (int look = 0; look < 8; ++look) expectAllIn("INBOX");
  const auto filed = file();
  ASSERT_TRUE(filed) << filed.error().message;
  EXPECT_EQ(*filed, count);
  for (int look = 0; look < 8; ++look) expectAllIn("Done");
  const auto undone = client()->undo();
  ASSERT_TRUE(undone) << undone.error().message;
  EXPECT_EQ(undone->count, count) << undone->kept.front();
  expectAllIn("INBOX");
}

TEST_F(RealDisk, TwoProcessesFileTheSameMessagesAtOnce) {
  makeMail(300);
  makeFolder(mail_ / ".Else");
  std::vector<pid_t> children;
  for (const auto* target : {"Done", "Else"}) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      FixedRandomSource names(static_cast<std::uint64_t>(getpid()) << 32);
      const Environment own{files, clock, names, log, root() / "profile" / "mail"};
      (void)fileAll(own, {account_, "INBOX"}, {account_, target}, MarkChange::label(LabelColor::green));
      _exit(0);
    }
    children.push_back(child);
  }
  for (const auto child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  ASSERT_TRUE(client()->start());
  expectWhole(300);
}

}  // namespace
}  // namespace quillbox::mailclient
