// What a viewer shows and how keys move in it: rows, conversations, and what is remembered of them.
#include "mailclient/message_list.h"

#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

class MessageListTest : public testing::Test, public TestMail {
 protected:
  void SetUp() override {
    makeFolder("/mail/a");
    makeFolder("/mail/a/.Done");
    addAccount("A", "/mail/a");
    // From the oldest to the newest.
    put(1, "a", "");
    put(2, "b", "");
    put(3, "a2", "References: <a@x>\n");
    put(4, "c", "Subject: Re: a\n");
    put(5, "b2", "In-Reply-To: <b@x>\n");
    put(6, "a3", "References: <a@x> <a2@x>\n");
  }
  static Path file(int time, const std::string& subject, const std::string& folder = "") {
    return fmt::format("/mail/a/{}cur/170000000{}.{}:2,S", folder, time, subject);
  }
  void put(int time, const std::string& subject, const std::string& headers) {
    disk.put(file(time, subject),
             fmt::format("From: P{2} <p@x>\nSubject: {0}\nMessage-ID: <{0}@x>\n{1}\n{3}.\n", subject, headers,
                         9 - time, std::string(static_cast<std::size_t>(time * 7 % 10), 'x')));
  }
  void change(const std::function<void(Viewer&)>& change) {
    const auto here = environment();
    ASSERT_TRUE(ViewStateStore(here).change([&](ViewState& state) -> Result<void> {
      change(*state.front());
      return {};
    }));
  }
  // "*" selected, "+N" a collapsed conversation of N, "-" the first and "." another of an expanded one.
  std::string rows(std::size_t limit = SIZE_MAX) {
    std::vector<std::string> shown;
    const auto rows = client().rows(limit);
    for (const auto& row : *rows) {
      const auto kind = row.kind == RowKind::collapsedConversation  ? fmt::format("+{} ", row.messages)
                        : row.kind == RowKind::expandedConversation ? "-"
                        : row.kind == RowKind::answer               ? "."
                                                                    : "";
      shown.push_back((row.isSelected ? "*" : "") + kind + row.message.subject);
    }
    return fmt::format("{}", fmt::join(shown, ", "));
  }
  std::string selected() {
    std::vector<std::string> subjects;
    const auto rows = client().selection();
    for (const auto& row : *rows) subjects.push_back(row.subject);
    return fmt::format("{}", fmt::join(subjects, " "));
  }
  void select(const std::vector<std::string>& subjects, const std::string& mailbox = "INBOX") {
    std::vector<std::string> ids;
    for (const auto& subject : subjects) ids.push_back(subject + "@x");
    ASSERT_TRUE(client().select("A", mailbox, ids));
  }
  // Left, right, up and down.
  void press(const std::string& keys) {
    for (const char key : keys) {
      ASSERT_TRUE(client().navigate(key == 'L'   ? Navigation::collapseConversation
                                    : key == 'R' ? Navigation::expandConversation
                                    : key == 'U' ? Navigation::selectMessageUp
                                                 : Navigation::selectMessageDown));
    }
  }
};

TEST_F(MessageListTest, KeysMoveFromRowToRow) {
  const struct {
    std::vector<std::string> before;
    const char* keys;
    const char* rows;
    const char* selected;
  } cases[] = {
      {{}, "", "+3 a3, +2 b2, c", ""},
      {{}, "D", "*+3 a3, +2 b2, c", "a3 a2 a"},
      {{}, "U", "+3 a3, +2 b2, *c", "c"},
      {{}, "DDDD", "+3 a3, +2 b2, *c", "c"},
      {{}, "DDUU", "*+3 a3, +2 b2, c", "a3 a2 a"},
      {{}, "L", "+3 a3, +2 b2, c", ""},
      {{}, "R", "+3 a3, +2 b2, c", ""},
      // Into a conversation, message by message, and out of it.
      {{}, "DR", "*-a3, .a2, .a, +2 b2, c", "a3"},
      {{}, "DRD", "-a3, *.a2, .a, +2 b2, c", "a2"},
      {{}, "DRDDD", "-a3, .a2, .a, *+2 b2, c", "b2 b"},
      {{}, "DRDDDU", "-a3, .a2, *.a, +2 b2, c", "a"},
      {{}, "DRDL", "*+3 a3, +2 b2, c", "a2 a3 a"},
      // What was selected by name stays what it was until a row is gone to.
      {{"b"}, "", "+3 a3, *+2 b2, c", "b"},
      {{"b"}, "L", "+3 a3, *+2 b2, c", "b"},
      {{"b"}, "R", "+3 a3, -b2, *.b, c", "b"},
      {{"a2"}, "D", "+3 a3, *+2 b2, c", "b2 b"},
      {{"a2"}, "U", "*+3 a3, +2 b2, c", "a2"},
      // Several at once.
      {{"a2", "b2"}, "R", "-a3, *.a2, .a, *-b2, .b, c", "a2 b2"},
      {{"a2", "b2"}, "RL", "*+3 a3, *+2 b2, c", "a2 b2 a3 a b"},
      {{"c", "b2"}, "D", "+3 a3, *+2 b2, *c", "c b2"},
      {{"c", "b2"}, "U", "*+3 a3, +2 b2, c", "a3 a2 a"},
      {{"c"}, "RL", "+3 a3, +2 b2, *c", "c"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(fmt::format("{} {}", c.keys, c.before));
    change([](Viewer& viewer) { viewer.expanded.clear(); });
    select(c.before);
    press(c.keys);
    EXPECT_EQ(rows(), c.rows);
    EXPECT_EQ(selected(), c.selected);
  }
  EXPECT_EQ(rows(2), "+3 a3, +2 b2");
  // With nothing to select, and nowhere to select it.
  change([](Viewer& viewer) { viewer.mailboxes = {{"nobody", "INBOX"}}; });
  press("DULR");
  EXPECT_EQ(rows(), "");
  const auto here = environment();
  ASSERT_TRUE(ViewStateStore(here).change([](ViewState& state) -> Result<void> {
    state.viewers.clear();
    return {};
  }));
  press("DULR");
  EXPECT_EQ(rows(), "");
}

TEST_F(MessageListTest, RowsFollowTheViewersOrder) {
  const struct {
    const char* column;
    bool ascending;
    const char* conversations;
    const char* messages;
  } cases[] = {
      {"ecdr", false, "+3 a3, +2 b2, c", "a3, b2, c, a2, b, a"},
      {"ecdr", true, "+3 a, +2 b, c", "a, b, a2, c, b2, a3"},
      {"ecsu", true, "+3 a, +2 b, c", "a, a2, a3, b, b2, c"},
      {"ecsu", false, "c, +2 b2, +3 a3", "c, b2, b, a3, a2, a"},
      {"ecfr", true, "+3 a3, +2 b2, c", "a3, b2, c, a2, b, a"},
      {"ecsz", true, "+2 b, +3 a, c", "b, a, a2, c, b2, a3"},
      {"ecms", true, "+3 a3, +2 b2, c", "a3, b2, c, a2, b, a"},  // equal: newest first
      {"ecto", true, "+3 a, +2 b, c", "a, b, a2, c, b2, a3"},    // as by date
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.column);
    for (const bool byConversation : {true, false}) {
      change([&](Viewer& viewer) {
        viewer.sortColumn = c.column;
        viewer.sortedAscending = c.ascending;
        viewer.byConversation = byConversation;
      });
      EXPECT_EQ(rows(), byConversation ? c.conversations : c.messages);
    }
  }
  // Two mailboxes are one list, and a conversation may be in both.
  ASSERT_TRUE(disk.renameNoReplace(file(5, "b2"), file(5, "b2", ".Done/")));
  const auto account = client().accounts()->front().id;
  change([&](Viewer& viewer) {
    viewer.sortColumn = "ecdr";
    viewer.sortedAscending = false;
    viewer.byConversation = true;
    viewer.mailboxes = {{account, "Done"}, {account, "INBOX"}};
  });
  EXPECT_EQ(rows(), "+3 a3, +2 b2, c");
  press("DD");
  EXPECT_EQ(selected(), "b2 b");
}

TEST_F(MessageListTest, OpensNoMessageBeforeItIsAskedForConversations) {
  int reads = 0;
  files.failReadsWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
    if (step.operation == "readRange") ++reads;
    return std::nullopt;
  });
  ASSERT_TRUE(client().selectAll("A", "INBOX"));
  EXPECT_EQ(client().messages("A", "INBOX", 1)->size(), 1U);
  EXPECT_EQ(reads, 1);
  change([](Viewer& viewer) { viewer.byConversation = false; });
  EXPECT_EQ(rows(2), "*a3, *b2");
  EXPECT_EQ(reads, 2);
  change([](Viewer& viewer) { viewer.byConversation = true; });
  EXPECT_EQ(rows(1), "*+3 a3");
  EXPECT_EQ(reads, 6);
}

// Another program marks messages while their headers are read, and one cannot be read at all.
TEST_F(MessageListTest, MessagesThatAreRenamedMeanwhileStayInTheirConversation) {
  disk.put(file(8, "secret"), "Subject: secret\nIn-Reply-To: <a@x>\n\n", 0000);
  bool isRenamed = false;
  files.failReadsWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
    if (step.operation == "readRange" && !std::exchange(isRenamed, true)) {
      for (const int time : {1, 3}) {
        const auto at = file(time, time == 1 ? "a" : "a2");
        EXPECT_TRUE(disk.renameNoReplace(at, at.string() + "F"));
      }
    }
    return std::nullopt;
  });
  EXPECT_EQ(rows(), ", +3 a3, +2 b2, c");
  EXPECT_TRUE(log.contains("can’t be read"));
}

TEST_F(MessageListTest, ExpandedConversationsStayExpandedWhereverTheirMessagesGo) {
  press("DR");
  restart();
  EXPECT_EQ(rows(), "*-a3, .a2, .a, +2 b2, c");
  // Another program moves one away, and Quillbox the next.
  ASSERT_TRUE(disk.renameNoReplace(file(6, "a3"), file(6, "a3", ".Done/")));
  EXPECT_EQ(rows(), "+2 b2, c, -a2, .a") << "the newest message is where the conversation is";
  select({"a2"});
  ASSERT_TRUE(fileSelection(client(), {"A", "Done", true, true, "", ""}));
  EXPECT_EQ(rows(), "+2 b2, c, a");
  select({}, "Done");
  select({"a3"}, "Done");
  EXPECT_EQ(rows(), "*-a3, .a2");
  ASSERT_TRUE(client().undo());
  EXPECT_EQ(rows(), "*a3");
  select({"b"});
  EXPECT_EQ(rows(), "*+2 b2, c, -a2, .a");
  // One that is selected and gone is selected no more; the rest is a message alone.
  ASSERT_TRUE(disk.remove(file(2, "b")));
  EXPECT_EQ(rows(), "b2, c, -a2, .a");
  press("D");
  EXPECT_EQ(selected(), "b2");
  // A message that comes joins, and is where its time puts it.
  put(7, "a4", "In-Reply-To: <a2@x>\n");
  restart();
  EXPECT_EQ(rows(), "-a4, .a2, .a, *b2, c");
}

TEST_F(MessageListTest, FilesOfOtherVersionsAndDamagedOnes) {
  press("DR");
  const auto good = disk.bytes("/profile/mail/state.json");
  const auto expandedAt = good.find(",\"byConversation\":true,\"expanded\":[[\"");
  ASSERT_NE(expandedAt, std::string::npos) << good;
  const auto expandedEnd = good.find("]]", expandedAt) + 2;
  const auto with = [&](const std::string& text) {
    return good.substr(0, expandedAt) + text + good.substr(expandedEnd);
  };
  // As it was written before there were conversations.
  disk.put("/profile/mail/state.json", with(""));
  restart();
  EXPECT_EQ(rows(), "*+3 a3, +2 b2, c");
  EXPECT_TRUE(log.lines(LogLevel::error).empty());
  const auto newer = good.find("\"version\":1");
  const std::string damaged[] = {
      with(",\"byConversation\":1"),
      with(",\"expanded\":{}"),
      with(",\"expanded\":[7]"),
      with(",\"expanded\":[[7]]"),
      with(",\"expanded\":[[\"0x1\"]]"),
      with(",\"expanded\":[[\"\"]]"),
      good.substr(0, newer) + "\"version\":2" + good.substr(newer + 11),
  };
  std::size_t said = 0;
  for (const auto& text : damaged) {
    disk.put("/profile/mail/state.json", text);
    restart();
    EXPECT_EQ(rows(), "+3 a3, +2 b2, c");
    EXPECT_EQ(log.lines(LogLevel::error).size(), ++said) << text;
    const auto aside =
        fmt::format("/profile/mail/state.json.damaged{}", said == 1 ? "" : fmt::format("-{}", said));
    EXPECT_EQ(disk.bytes(aside), text);
  }
}

}  // namespace
}  // namespace quillbox::mailclient
