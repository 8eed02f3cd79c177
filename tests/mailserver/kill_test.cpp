// Real processes on a real disk, killed while they file, copy and take back.
#include <algorithm>
#include <array>
#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include "machine.h"
#include "real_store.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::steady_clock;

bool isUnderWay(std::string_view entry) {
  return entry.ends_with(".open") || entry.ends_with(".undo");
}

// Hears when a journal entry is begun and when it is finished, without asking again and again: that would
// take the time of the process that it waits for.
class JournalWatch {
 public:
  enum class Heard { begun, finished };

  explicit JournalWatch(const Path& journal) : events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    constexpr std::uint32_t all = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
    if (inotify_add_watch(events_, journal.c_str(), all) < 0) fatal("the journal cannot be watched");
  }
  ~JournalWatch() { close(events_); }
  JournalWatch(const JournalWatch&) = delete;
  JournalWatch& operator=(const JournalWatch&) = delete;

  // Nothing when `process`, the pipe of which it holds the other end, ends first, or `until` comes first.
  std::optional<Heard> wait(int process, std::optional<steady_clock::time_point> until) {
    while (true) {
      if (!heard_.empty()) {
        const auto first = heard_.front();
        heard_.pop_front();
        return first;
      }
      timespec left{};
      if (until) {
        const auto rest = std::max(*until - steady_clock::now(), steady_clock::duration::zero());
        left.tv_sec = duration_cast<std::chrono::seconds>(rest).count();
        left.tv_nsec = (rest % std::chrono::seconds(1)).count();
      }
      std::array<pollfd, 2> ends{pollfd{events_, POLLIN, 0}, pollfd{process, POLLIN, 0}};
      const int ready = ppoll(ends.data(), ends.size(), until ? &left : nullptr, nullptr);
      if (ready < 0) fatal("nothing can be waited for");
      if (ready == 0) return std::nullopt;
      if (ends[0].revents == 0) return std::nullopt;
      take();
    }
  }

 private:
  void take() {
    alignas(inotify_event) std::array<char, 1 << 14> events{};
    const auto got = read(events_, events.data(), events.size());
    for (ssize_t at = 0; at < got;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
      if (event->len > 0 && isUnderWay(event->name)) {
        heard_.push_back((event->mask & (IN_CREATE | IN_MOVED_TO)) != 0 ? Heard::begun : Heard::finished);
      }
      at += static_cast<ssize_t>(sizeof *event) + event->len;
    }
  }

  int events_;
  std::deque<Heard> heard_;
};

// When a process is killed: this long after it began, or after it began its journal entry.
struct Moment {
  enum class Since { start, entry };
  Since since = Since::start;
  std::optional<microseconds> delay;  // none: never
};
struct Ended {
  bool killed = false;
  std::optional<microseconds> length;  // from `since` to the end of what was not killed before that
};

// Runs `work` in a process of its own.
Ended runAndKill(const Path& journal, const Moment& moment, const std::function<bool()>& work) {
  JournalWatch watch(journal);
  int begun[2];
  if (pipe(begun) != 0) fatal("no pipe");
  const pid_t child = fork();
  if (child < 0) fatal("no process");
  if (child == 0) {
    close(begun[0]);
    if (write(begun[1], "b", 1) != 1) _exit(1);
    _exit(work() ? 0 : 1);
  }
  char byte = 0;
  close(begun[1]);
  if (read(begun[0], &byte, 1) != 1) fatal("the process did not begin");
  Ended ended;
  if (moment.since == Moment::Since::start || watch.wait(begun[0], std::nullopt)) {
    const auto since = steady_clock::now();
    std::optional<steady_clock::time_point> until;
    if (moment.delay) until = since + *moment.delay;
    // The begun entry is no end of what counts from the start; the closed pipe is.
    while (const auto heard = watch.wait(begun[0], until)) {
      if (moment.since == Moment::Since::entry && *heard == JournalWatch::Heard::finished) break;
    }
    const auto now = steady_clock::now();
    if (!until || now < *until) {
      ended.length = duration_cast<microseconds>(now - since);
    } else {
      kill(child, SIGKILL);
    }
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) fatal("the process is lost");
  close(begun[0]);
  ended.killed = WIFSIGNALED(status);
  EXPECT_TRUE(ended.killed || status == 0) << "an undisturbed filing failed";
  return ended;
}

bool anyUnderWay(const Path& journal) {
  return std::ranges::any_of(fs::directory_iterator(journal),
                             [](const auto& entry) { return isUnderWay(entry.path().filename().string()); });
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

  enum class Action { forth, back, undo };

  // Files forth and back and takes back, each time killed at another moment, until `kills` of them came
  // while a filing or an undo was under way. What lies in "Done" is flagged and what lies in the inbox is
  // not, whoever was killed when.
  //
  // Most moments are drawn from the time between the first and the last step, as long as it took when it was
  // last seen to its end; the others from the whole life of the process. Every eighth process is left alone
  // and shows how long that is on this machine now.
  void killManyTimes(int kills) {
    std::minstd_rand chance(20260301);
    const auto journal = root() / "profile" / "mail" / "journal";
    ASSERT_TRUE(act(Action::forth, 1));
    std::map<std::pair<Action, Moment::Since>, microseconds> lengths;
    int inside = 0;
    int killed = 0;
    int round = 0;
    for (; inside < kills && round < 4 * kills; ++round) {
      SCOPED_TRACE(round);
      const auto action = nextAction(chance());
      Moment moment;
      moment.since = chance() % 4 == 0 ? Moment::Since::start : Moment::Since::entry;
      const auto length = lengths.find({action, moment.since});
      if (length != lengths.end() && chance() % 8 != 0) {
        moment.delay = microseconds(static_cast<std::int64_t>(chance()) % (length->second.count() + 1));
      }
      const auto ended =
          runAndKill(journal, moment, [&] { return act(action, static_cast<unsigned>(round) + 2); });
      if (ended.length) lengths[{action, moment.since}] = *ended.length;
      killed += ended.killed ? 1 : 0;
      inside += ended.killed && anyUnderWay(journal) ? 1 : 0;
      clock.advance(std::chrono::seconds(1));
      ASSERT_TRUE(client()->start());
      expectEverythingWhole();
      if (HasFailure()) return;
    }
    std::cout << inside << " of " << killed << " kills in " << round
              << " rounds came while the store was being changed\n";
    EXPECT_EQ(inside, kills);
  }

  bool act(Action action, unsigned seed) {
    FixedRandomSource names(static_cast<std::uint64_t>(seed) << 32);
    const Environment own{files, clock, names, log, root() / "profile" / "mail"};
    switch (action) {
      case Action::forth:
        return fileAll(own, inbox_, done_, MarkChange::flagIndex(3)).has_value();
      case Action::back:
        return fileAll(own, done_, inbox_, MarkChange::flagIndex(noFlagIndex)).has_value();
      case Action::undo:
        (void)MailClient(own).undo();
        return true;
    }
    return false;
  }

  // One that has something to do.
  Action nextAction(std::uint_fast32_t chance) const {
    if (chance % 3 == 0) return Action::undo;
    if (fs::is_empty(mail_ / "cur")) return Action::back;
    if (fs::is_empty(mail_ / ".Done" / "cur")) return Action::forth;
    return chance % 3 == 1 ? Action::forth : Action::back;
  }

  void expectEverythingWhole() {
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
  makeMail(100, {});
  killManyTimes(200);
}

TEST_F(KilledProcess, LeavesEveryMessageWholeAcrossFileSystems) {
  ASSERT_FALSE(otherDisk().empty()) << "this machine has one writable file system only";
  makeMail(10, otherDisk());
  killManyTimes(100);
}

}  // namespace
}  // namespace quillbox::mailclient
