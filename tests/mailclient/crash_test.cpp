// Stops the program after every single step that changes the disk, stops its next start too, starts it again,
// and looks at every message.
#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/error_numbers.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

struct Scenario {
  std::string name;
  bool apart = false;                                        // the destination lies on another file system
  std::function<void(TestMail&)> before = [](TestMail&) {};  // done without faults
  std::function<void(TestMail&)> act;
};

constexpr int kMessages = 20;
constexpr int kFewMessages = 5;  // where power fails too: first, last, and those between them

void prepare(TestMail& mail, bool apart, int messages = kMessages) {
  mail.makeFolder("/mail/a");
  if (apart) mail.disk.mount("/mail/b");
  mail.makeFolder("/mail/a/.Done");
  mail.disk.put("/mail/a/subscriptions", "Done\n");
  mail.disk.put("/mail/a/dovecot-uidlist", "3 V1 N2\n");
  mail.disk.put("/mail/a/dovecot-keywords", "0 theirs\n");
  mail.makeFolder("/mail/b/INBOX");
  mail.addAccount("A", "/mail/a");
  mail.addAccount("B", "/mail/b");
  for (int i = 0; i < messages; ++i) {
    mail.deliver("/mail/a", "m" + std::to_string(i), i % 3 == 0 ? "Sa" : "", i % 3 == 1 ? "new" : "cur");
  }
  if (auto selected = mail.client().selectAll("A", "INBOX"); !selected) fatal(selected.error().message);
}

Scenario filing(std::string name, const Filing& filing, bool apart = false) {
  return {std::move(name), apart, [](TestMail&) {},
          [filing](TestMail& mail) { (void)fileSelection(mail.client(), filing); }};
}

Scenario undoing(std::string name, const Filing& filing, bool apart = false) {
  return {std::move(name), apart,
          [filing](TestMail& mail) {
            if (auto filed = fileSelection(mail.client(), filing); !filed) fatal(filed.error().message);
          },
          [](TestMail& mail) { (void)mail.client().undo(); }};
}

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = {
      filing("move inside an account", {"A", "Done", true, true, "6", "ccye"}),
      filing("move between accounts", {"B", "INBOX", true, true, "", "ccre"}),
      filing("move across file systems", {"B", "INBOX", true, true, "1", ""}, true),
      filing("copy", {"A", "Done", false, true, "3", "ccbl"}),
      filing("flag and label", {"", "", true, true, "4", "ccgr"}),
      {"make a mailbox", false, [](TestMail&) {},
       [](TestMail& mail) { (void)mail.client().makeMailbox("A", "Büro/Neu"); }},
      undoing("undo of a move", {"A", "Done", true, true, "6", "ccye"}),
      undoing("undo across file systems", {"B", "INBOX", true, true, "6", ""}, true),
      undoing("undo of a copy", {"A", "Done", false, true, "0", ""}),
  };
  return all;
}

using Everything = std::multimap<std::string, std::string>;

// The marks with which a message arrives in new/ are not told apart from those of cur/ by everything(), so
// "before" and "after" are what an undisturbed run shows.
struct Expected {
  int messages = 0;
  Everything before;
  Everything after;
  std::vector<std::string> foldersBefore;
  std::vector<std::string> foldersAfter;
};

std::vector<std::string> folders(TestMail& mail) {
  return *mail.client().mailboxes("A");
}

// Every message is as before or as after; counts which.
void compare(const Expected& expected, const Everything& now, int& changed) {
  changed = 0;
  for (int i = 0; i < expected.messages; ++i) {
    const auto subject = "m" + std::to_string(i);
    const auto places = [&](const Everything& all) {
      std::multiset<std::string> result;
      for (auto [at, end] = all.equal_range(subject); at != end; ++at) result.insert(at->second);
      return result;
    };
    const auto there = places(now);
    if (there == places(expected.after)) {
      if (there != places(expected.before)) ++changed;
      continue;
    }
    EXPECT_EQ(there, places(expected.before)) << subject;
  }
  for (const auto& [subject, place] : now)
    EXPECT_EQ(subject.find("TORN"), std::string::npos) << subject << place;
}

Expected undisturbed(const Scenario& scenario, int messages) {
  TestMail mail;
  prepare(mail, scenario.apart, messages);
  scenario.before(mail);
  Expected expected{messages, mail.everything(), {}, folders(mail), {}};
  scenario.act(mail);
  expected.after = mail.everything();
  expected.foldersAfter = folders(mail);
  EXPECT_TRUE(mail.strayFiles().empty()) << mail.strayFiles().front();
  return expected;
}

class CrashPoints : public testing::TestWithParam<std::size_t> {};

TEST_P(CrashPoints, LeaveEveryMessageWhole) {
  const auto& scenario = scenarios()[GetParam()];
  int steps = 0;
  using Lost = MemoryFileSystem::Lost;
  for (const auto powerCut :
       {std::optional<Lost>(), std::optional(Lost::everything), std::optional(Lost::bytes)}) {
    const auto expected = undisturbed(scenario, powerCut ? kFewMessages : kMessages);
    for (std::uint64_t step = 1;; ++step) {
      SCOPED_TRACE(testing::Message() << scenario.name << ", step " << step
                                      << (!powerCut                 ? ""
                                          : powerCut == Lost::bytes ? ", power cut, directories kept"
                                                                    : ", power cut"));
      TestMail mail;
      prepare(mail, scenario.apart, expected.messages);
      scenario.before(mail);
      if (powerCut) {
        ASSERT_TRUE(mail.disk.syncDirectory("/mail"));
      }
      mail.files.reset();
      mail.files.crashAtStep(step, step % 2 == 0 ? FaultyFileSystem::Torn::half : FaultyFileSystem::Torn::no);
      scenario.act(mail);
      const bool crashed = mail.files.crashed();
      const auto trace = mail.files.trace();
      if (powerCut) mail.disk.losePower(*powerCut);
      // The first start after it is stopped too, somewhere.
      mail.restart();
      mail.files.crashAtStep(1 + step % 11);
      (void)mail.client().start();
      mail.restart();
      ASSERT_TRUE(mail.client().start());
      int changed = 0;
      compare(expected, mail.everything(), changed);
      EXPECT_TRUE(mail.strayFiles().empty()) << mail.strayFiles().front();
      const auto made = folders(mail);
      EXPECT_TRUE(made == expected.foldersBefore || made == expected.foldersAfter);
      if (!crashed) {
        EXPECT_EQ(mail.everything(), expected.after);
      }
      // What was filed can be taken back, and then everything is as it was.
      if (changed > 0 && scenario.name.find("undo") == std::string::npos &&
          scenario.name != "flag and label") {
        const auto undone = mail.client().undo();
        ASSERT_TRUE(undone) << undone.error().message;
        EXPECT_EQ(undone->count, static_cast<std::size_t>(changed));
        EXPECT_EQ(mail.everything(), expected.before);
        EXPECT_TRUE(mail.strayFiles().empty());
      }
      if (testing::Test::HasFailure()) {
        for (const auto& at : trace)
          std::cerr << "  " << at.operation << " " << at.path << " " << at.to << "\n";
        for (const auto& line : mail.log.lines()) std::cerr << "  log: " << line << "\n";
        return;
      }
      ++steps;
      if (!crashed) break;
    }
  }
  RecordProperty("steps", steps);
}

// Where a file system cannot refuse to replace, a name is taken with an empty file first.
TEST(CrashPoint, BetweenAReservedNameAndItsRenameLeavesTheMessageOnly) {
  int reserved = 0;
  bool crashed = true;
  for (std::uint64_t step = 1; crashed; ++step) {
    TestMail mail;
    prepare(mail, false, kFewMessages);
    mail.files.reset();
    mail.files.crashAtStep(step);
    (void)fileSelection(mail.client(), {"A", "Done"});
    crashed = mail.files.crashed();
    const auto last = mail.files.trace().back();
    if (crashed && last.operation == "rename" && Path(last.to).parent_path() == "/mail/a/.Done/cur") {
      mail.disk.put(Path(last.to).string(), "");
      ++reserved;
    }
    mail.restart();
    ASSERT_TRUE(mail.client().start());
    EXPECT_EQ(mail.everything().size(), static_cast<std::size_t>(kFewMessages)) << "step " << step;
  }
  EXPECT_EQ(reserved, kFewMessages);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CrashPoints, testing::Range<std::size_t>(0, 9), [](const auto& scenario) {
  auto name = scenarios()[scenario.param].name;
  std::ranges::replace(name, ' ', '_');
  return name;
});

TEST(Journal, ThatCannotBeReadIsKeptAsideAndSaid) {
  TestMail mail;
  prepare(mail, false);
  const auto before = mail.everything();
  const std::string head = "{\"journal\":1,\"token\":\"t\",\"started\":\"x\"}\n";
  const std::vector<std::pair<std::string, bool>> entries = {
      {"", false},                               // nothing happened yet
      {"{\"journal\":1,\"tok", false},           // torn in its first line
      {head + "{\"do\":\"move\",\"fro", false},  // torn in a record
      {"garbage", true},
      {"{\"journal\":3,\"token\":\"t\"}\n", true},
      {head + "{\"do\":\"dance\"}\n", true},
      {head + "{\"do\":\"move\"}\n", true},
      {head + "garbage\n{\"void\":0}\n", true},
  };
  int number = 1;
  for (const auto& [text, damaged] : entries) {
    for (const auto* extension : {".open", ".undo"}) {
      const auto file = "/profile/mail/journal/000000000000000" + std::to_string(number) + "-t" + extension;
      mail.disk.put(file, text);
      mail.restart();
      EXPECT_TRUE(mail.client().start()) << text;
      EXPECT_FALSE(mail.disk.exists(file)) << text;
      EXPECT_EQ(mail.disk.exists(file + ".damaged"), damaged) << text;
    }
    ++number;
  }
  // The last filing cannot be taken back then; the one before it only when that is asked for.
  ASSERT_TRUE(fileSelection(mail.client(), {"A", "Done"}));
  const auto filed = mail.everything();
  const std::string last = "/profile/mail/journal/ffffffff00000000-t.done";
  mail.disk.put(last, "garbage");
  EXPECT_EQ(mail.client().undo().error().number, error_number::damagedFile);
  EXPECT_TRUE(mail.disk.exists(last + ".damaged"));
  EXPECT_EQ(mail.everything(), filed);
  EXPECT_TRUE(mail.client().undo());
  EXPECT_EQ(mail.everything(), before);
  EXPECT_GE(mail.log.lines(LogLevel::error).size(), 10U);
}

}  // namespace
}  // namespace quillbox::mailclient
