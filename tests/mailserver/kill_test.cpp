// Real processes on a real disk, killed while they file, copy and take back.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "machine.h"
#include "real_store.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

constexpr int kKills = 200;  // that came while a filing or an undo was under way
constexpr int kRounds = 1000;

// Runs `work` in a process of its own and kills it `delay` after it began, or lets it end when that is
// negative. Gives whether it was killed.
bool runAndKill(std::chrono::microseconds delay, const std::function<bool()>& work) {
  int begun[2];
  if (pipe(begun) != 0) fatal("no pipe");
  const pid_t child = fork();
  if (child < 0) fatal("no process");
  if (child == 0) {
    if (write(begun[1], "b", 1) != 1) _exit(1);
    _exit(work() ? 0 : 1);
  }
  char byte = 0;
  close(begun[1]);
  if (read(begun[0], &byte, 1) != 1) fatal("the process did not begin");
  close(begun[0]);
  if (delay.count() >= 0) {
    usleep(static_cast<useconds_t>(delay.count()));
    kill(child, SIGKILL);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) fatal("the process is lost");
  const bool killed = WIFSIGNALED(status);
  EXPECT_TRUE(killed || status == 0) << "an undisturbed filing failed";
  return killed;
}

bool isUnderWay(const Path& journal) {
  std::error_code ignored;
  return std::ranges::any_of(fs::directory_iterator(journal, ignored), [](const auto& entry) {
    return entry.path().extension() == ".open" || entry.path().extension() == ".undo";
  });
}

class KilledProcess : public testing::Test, public RealStore {
 protected:
  // The inbox and "Done", which lies on `disk` when that is not empty.
  void makeMail(int messages, const Path& disk) {
    mail_ = root() / "mail";
    makeFolder(mail_);
    if (disk.empty()) {
      makeFolder(mail_ / ".Done");
    } else {
      std::string pattern = (disk / "quillbox-mail-XXXXXX").string();
      ASSERT_NE(mkdtemp(pattern.data()), nullptr);
      away_ = pattern;
      makeFolder(away_ / "Done");
      fs::create_directory_symlink(away_ / "Done", mail_ / ".Done");
    }
    const auto added = client()->addAccount({"A", mail_, "", AccountType::imap});
    ASSERT_TRUE(added) << added.error().message;
    inbox_ = {added->id, "INBOX"};
    done_ = {added->id, "Done"};
    for (int i = 0; i < messages; ++i) deliver(mail_, "m" + std::to_string(i), "");
    count_ = static_cast<std::size_t>(messages);
  }
  void TearDown() override {
    std::error_code ignored;
    if (!away_.empty()) fs::remove_all(away_, ignored);
  }

  // Files forth and back and takes back, each time killed at another moment, until kKills of them were
  // inside. What lies in "Done" is flagged and what lies in the inbox is not, whoever was killed when.
  void killManyTimes() {
    std::mt19937 chance(20260301);
    const auto journal = root() / "profile" / "mail" / "journal";
    auto span = std::chrono::microseconds(200'000);
    int inside = 0;
    int round = 0;
    for (; inside < kKills && round < kRounds; ++round) {
      SCOPED_TRACE(round);
      const auto action = chance() % 4;
      const std::chrono::microseconds delay(chance() % static_cast<unsigned>(span.count() + 1));
      const bool killed = runAndKill(delay, [&] {
        FixedRandomSource names(static_cast<std::uint64_t>(round + 2) << 32);
        const Environment own{files, clock, names, log, root() / "profile" / "mail"};
        if (action < 2) return fileAll(own, inbox_, done_, MarkChange::flagIndex(3)).has_value();
        if (action == 2) return fileAll(own, done_, inbox_, MarkChange::flagIndex(noFlagIndex)).has_value();
        (void)MailClient(own).undo();
        return true;
      });
      const bool interrupted = killed && isUnderWay(journal);
      inside += interrupted ? 1 : 0;
      // The kills follow the machine's speed: later when they come before the filing began, earlier when
      // after its end.
      span = std::clamp(killed ? span * 21 / 20 : span * 9 / 10, std::chrono::microseconds(500),
                        std::chrono::microseconds(2'000'000));
      clock.advance(std::chrono::seconds(1));
      ASSERT_TRUE(client()->start());
      expectEverythingWhole();
      if (HasFailure()) return;
    }
    std::cout << inside << " of " << round << " kills came while the store was being changed\n";
    EXPECT_EQ(inside, kKills);
  }

  void expectEverythingWhole() const {
    auto all = messages(mail_);
    if (!away_.empty()) {
      for (const auto& [subject, places] : messages(away_)) all[subject].insert(places.begin(), places.end());
    }
    ASSERT_EQ(all.size(), count_);
    for (const auto& [subject, places] : all) {
      ASSERT_EQ(places.size(), 1U) << subject << " lies in " << *places.begin() << " and "
                                   << *places.rbegin();
      ASSERT_EQ(places.begin()->find("TORN"), std::string::npos) << subject;
    }
    const auto flags = [&](const MailboxKey& key) {
      MailStore store(*environment_);
      const auto index = store.messages(*store.mailbox(key));
      std::set<int> found;
      for (const auto& file : (*index)->files())
        found.insert(store.marks({key, stableId(file.name)})->flagIndex());
      return found;
    };
    for (const auto& [key, flag] : {std::pair(inbox_, noFlagIndex), std::pair(done_, 3)}) {
      const auto found = flags(key);
      EXPECT_TRUE(found.empty() || found == std::set<int>{flag}) << key.path;
    }
    for (const auto& top : {mail_, away_}) {
      const auto stray = top.empty() ? std::vector<std::string>() : strayFiles(top);
      ASSERT_TRUE(stray.empty()) << stray.front();
    }
  }

  Path mail_;
  Path away_;
  MailboxKey inbox_;
  MailboxKey done_;
  std::size_t count_ = 0;
};

TEST_F(KilledProcess, LeavesEveryMessageWhole) {
  makeMail(200, {});
  killManyTimes();
}

TEST_F(KilledProcess, LeavesEveryMessageWholeAcrossFileSystems) {
  ASSERT_FALSE(otherDisk().empty()) << "this machine has one writable file system only";
  makeMail(20, otherDisk());
  killManyTimes();
}

}  // namespace
}  // namespace quillbox::mailclient
