// Filing, undo and the selection on a store in memory.
#include <algorithm>
#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/error_numbers.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

using Everything = std::multimap<std::string, std::string>;

// Two accounts of different layouts, one of them on another file system when asked for.
struct FilingStore : TestMail {
  void prepare(int messages, bool apart = false) {
    makeFolder("/mail/a");
    if (apart) {
      disk.putDirectory("/mail");
      disk.mount("/mail/b");
    }
    makeFolder("/mail/a/.Done");
    makeFolder("/mail/b/INBOX");
    makeFolder("/mail/b/Archive/\"Old\" \\2024");
    addAccount("A", "/mail/a", "imap.a.example");
    addAccount("B", "/mail/b", "imap.b.example");
    for (int i = 0; i < messages; ++i) deliver("/mail/a", "m" + std::to_string(i), i % 2 == 0 ? "S" : "");
  }
  std::size_t select(std::string_view account = "A", std::string_view path = "INBOX") {
    const auto count = client().selectAll(account, path);
    return count ? *count : 0;
  }
  std::string placeOf(const std::string& subject) const {
    const auto all = everything();
    std::set<std::string> sorted;
    for (auto [at, end] = all.equal_range(subject); at != end; ++at) sorted.insert(at->second + ";");
    std::string places;
    for (const auto& place : sorted) places += place;
    return places;
  }
};

class FilingTest : public testing::Test, public FilingStore {};

TEST_F(FilingTest, MarksAndMovesEachMessageByOneRename) {
  prepare(3);
  disk.put("/mail/a/dovecot-keywords", "0 theirs\n1 unused\n");
  disk.put("/mail/b/Archive/\"Old\" \\2024/dovecot-keywords", "0 unrelated\n");
  disk.put("/mail/a/cur/17.x,S=9,U=12,W=10:2,Rab,mutt=1", "Subject: keyed\n\nText.\n");
  ASSERT_EQ(select(), 4U);
  files.reset();
  const auto count = fileSelection(client(), {"B", "Archive/\"Old\" \\2024", true, true, "6", "ccye"});
  ASSERT_TRUE(count) << count.error().message;
  EXPECT_EQ(*count, 4U);
  const std::string marks = "|FS|$MailFlagBit1 $MailFlagBit2 $QuillboxLabelYellow ;";
  EXPECT_EQ(placeOf("m0"), "/b/Archive/\"Old\" \\2024" + marks);
  EXPECT_EQ(placeOf("m1"), "/b/Archive/\"Old\" \\2024" + marks);
  EXPECT_EQ(placeOf("keyed"),
            "/b/Archive/\"Old\" \\2024|FRS|$MailFlagBit1 $MailFlagBit2 $QuillboxLabelYellow theirs unused ;");
  EXPECT_TRUE(disk.exists("/mail/b/Archive/\"Old\" \\2024/cur/17.x,S=9,W=10:2,FRSbcdef,mutt=1"))
      << "sizes and foreign text stay, the UID of the other folder goes";
  int renames = 0;
  for (const auto& step : files.trace()) {
    if (step.operation == "rename" && step.path.string().starts_with("/mail/a/cur")) ++renames;
  }
  EXPECT_EQ(renames, 4);
  EXPECT_TRUE(strayFiles().empty());

  // The selection follows, and everything can be taken back.
  EXPECT_EQ(client().selection()->size(), 4U);
  EXPECT_EQ(client().selection()->front().mailbox, "Archive/\"Old\" \\2024");
  EXPECT_EQ(client().selection()->front().flagIndex, 6);
  EXPECT_EQ(client().selection()->front().color, "yellow");
  restart();
  const auto undone = client().undo();
  ASSERT_TRUE(undone) << undone.error().message;
  EXPECT_EQ(undone->count, 4U);
  EXPECT_TRUE(undone->kept.empty());
  EXPECT_EQ(placeOf("m0"), "/a|S|;");
  EXPECT_EQ(placeOf("m1"), "/a||;");
  EXPECT_EQ(placeOf("keyed"), "/a|R|theirs unused ;");
  EXPECT_EQ(client().selection()->front().mailbox, "INBOX");
  EXPECT_EQ(client().undo().error().number, error_number::nothingMatches);
}

TEST(Filing, CopiesLeaveTheOriginalAndUndoTakesOnlyCopies) {
  for (const bool apart : {false, true}) {
    SCOPED_TRACE(apart);
    FilingStore s;
    s.prepare(3, apart);
    const auto before = s.everything();
    s.select();
    const auto modified = s.disk.info(s.disk.tree("/mail/a/cur").front(), FollowLinks::yes)->modified;
    ASSERT_TRUE(fileSelection(s.client(), {"B", "INBOX", false, true, "0", ""}));
    EXPECT_EQ(s.placeOf("m1"), "/a|FS|;/b/INBOX|FS|;");
    EXPECT_EQ(s.everything().size(), 6U);
    for (const auto& copy : s.disk.tree("/mail/b/INBOX/cur")) {
      EXPECT_LE(std::abs((s.disk.info(copy, FollowLinks::yes)->modified - modified).count()), 3'000'000'000)
          << copy;
    }
    // One copy is read, another one answered, and the third's original is deleted since.
    std::vector<std::string> copies = s.disk.tree("/mail/b/INBOX/cur");
    ASSERT_TRUE(s.disk.renameNoReplace(copies[1], copies[1] + "R"));
    std::string original;
    for (const auto& path : s.disk.tree("/mail/a/cur")) {
      if (s.disk.bytes(path) == s.disk.bytes(copies[2])) original = path;
    }
    ASSERT_TRUE(s.disk.remove(original));
    const auto undone = s.client().undo();
    ASSERT_TRUE(undone);
    EXPECT_EQ(undone->count, 1U);
    ASSERT_EQ(undone->kept.size(), 2U);
    const auto why = undone->kept[0] + undone->kept[1];
    EXPECT_NE(why.find("original was moved or deleted"), std::string::npos) << why;
    EXPECT_NE(why.find("changed since"), std::string::npos) << why;
    EXPECT_EQ(s.everything().size(), 4U);
  }
}

// Messages are as long as their senders like: no more than a piece of one is held at a time.
TEST(Filing, MessagesAreNeverReadAsAWhole) {
  for (const bool apart : {false, true}) {
    FilingStore s;
    s.prepare(0, apart);
    const std::string bytes = "Subject: long\n\n" + std::string(5 << 20, 'x') + ".\n";
    s.disk.put("/mail/a/cur/17.long:2,S", bytes);
    for (const bool move : {true, false}) {
      s.files.reset();
      s.files.failReadsWhen([](const FaultyFileSystem::Step& step) {
        const bool isMessage = step.path.string().find("17.long") != std::string::npos;
        return isMessage && step.operation == "read" ? std::optional(ENOMEM) : std::nullopt;
      });
      EXPECT_EQ(s.client().messages("A", "INBOX")->front().subject, "long");
      ASSERT_EQ(s.select(), 1U);
      ASSERT_TRUE(fileSelection(s.client(), {"B", "INBOX", move, true, "1", "ccre"}));
      const auto steps = s.files.trace();
      const auto writes = std::ranges::count_if(steps, [](const FaultyFileSystem::Step& step) {
        return step.operation == "write" && step.path.string().starts_with("/mail/b/INBOX/tmp");
      });
      EXPECT_EQ(writes, apart || !move ? 6 : 0) << "pieces of a megabyte";
      EXPECT_EQ(s.disk.bytes(s.disk.tree("/mail/b/INBOX/cur").at(0)), bytes);
      EXPECT_EQ(s.client().undo()->count, 1U);
      EXPECT_EQ(s.placeOf("long"), "/a|S|;");
    }
  }
}

TEST_F(FilingTest, NothingIsOverwrittenAndNothingIsMovedOntoItself) {
  prepare(2);
  ASSERT_EQ(select(), 2U);
  const auto before = disk.tree("/mail");
  EXPECT_EQ(*fileSelection(client(), {"A", "INBOX", true, false, "", ""}), 2U);
  EXPECT_EQ(disk.tree("/mail"), before);
  // The destination holds another message of the same name.
  for (const auto& path : disk.tree("/mail/a/cur")) {
    disk.put("/mail/a/.Done/cur/" + Path(path).filename().string(), "Subject: other\n\nText.\n");
  }
  ASSERT_TRUE(fileSelection(client(), {"A", "Done", true, false, "", ""}));
  EXPECT_EQ(placeOf("other"), "/a/.Done|S|;/a/.Done||;");
  EXPECT_EQ(placeOf("m0"), "/a/.Done|S|;");
  EXPECT_EQ(client().undo()->count, 2U);
  EXPECT_EQ(placeOf("m0"), "/a|S|;");
  EXPECT_EQ(placeOf("other"), "/a/.Done|S|;/a/.Done||;");
}

TEST_F(FilingTest, LinksLeadToTheirMessageEverywhereAndLettersWithoutANameComeBack) {
  prepare(1);
  disk.put("/mail/a/elsewhere", "Subject: linked\n\nText.\n");
  disk.putLink("/mail/a/cur/1700000001.link:2,S", "../elsewhere");
  disk.putLink("/mail/a/cur/1700000002.far:2,S", "/mail/a/elsewhere");
  deliver("/mail/a", "letters", "Sb");
  disk.put("/mail/a/.Done/dovecot-keywords", "1 theirs\n");
  const auto before = everything();
  ASSERT_EQ(select(), 4U);
  ASSERT_EQ(*fileSelection(client(), {"A", "Done", true, false, "", ""}), 4U);
  EXPECT_EQ(placeOf("letters"), "/a/.Done|S|;");
  EXPECT_EQ(placeOf("linked"), "/a/.Done|S|;");
  EXPECT_EQ(everything().count("linked"), 2U);
  EXPECT_EQ(client().undo()->count, 4U);
  EXPECT_EQ(everything(), before);
}

TEST(Filing, AFailureInTheMiddleSaysHowFarItGotAndLeavesWholeMessages) {
  struct Case {
    const char* name;
    int number;
    const char* operation;
    bool apart;
    bool move;
  };
  for (const auto& c : std::vector<Case>{{"full disk", ENOSPC, "write", true, true},
                                         {"full disk, copy", ENOSPC, "write", false, false},
                                         {"permission", EACCES, "rename", false, true},
                                         {"source cannot be removed", EACCES, "remove", true, true}}) {
    SCOPED_TRACE(c.name);
    FilingStore s;
    s.prepare(5, c.apart);
    const auto before = s.everything();
    s.select();
    int left = 3;
    s.files.failWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
      // Drafts, renames into the destination, and removals of sources; not those of the keywords' files.
      const auto& place = step.operation == "rename" ? step.to : step.path;
      const std::string folder = step.operation == "remove"  ? "/mail/a/cur"
                                 : step.operation == "write" ? "/mail/b/INBOX/tmp"
                                                             : "/mail/b/INBOX/cur";
      const bool counts = step.operation == c.operation && place.string().starts_with(folder);
      return counts && --left <= 0 ? std::optional(c.number) : std::nullopt;
    });
    const auto filed = fileSelection(s.client(), {"B", "INBOX", c.move, true, "3", "ccbl"});
    ASSERT_FALSE(filed);
    EXPECT_NE(filed.error().message.find("message"), std::string::npos) << filed.error().message;
    EXPECT_EQ(filed.error().message.find('\n'), std::string::npos);
    s.files.failWhen({});
    s.restart();
    ASSERT_TRUE(s.client().start());
    const auto now = s.everything();
    int done = 0;
    for (const auto& [subject, place] : before) {
      const auto places = s.placeOf(subject);
      if (places == place + ";") continue;
      ++done;
      const auto filedAs = std::string("/b/INBOX|FS|$MailFlagBit0 $MailFlagBit1 $QuillboxLabelBlue ;");
      EXPECT_EQ(places, c.move ? filedAs : "/a" + filedAs.substr(8) + filedAs) << subject;
    }
    EXPECT_GT(done, 0);
    EXPECT_NE(filed.error().message.find(std::to_string(done) + " message"), std::string::npos)
        << done << ": " << filed.error().message;
    EXPECT_TRUE(s.strayFiles().empty()) << s.strayFiles().front();
    EXPECT_EQ(s.client().undo()->count, static_cast<std::size_t>(done));
    EXPECT_EQ(s.everything(), before);
  }
}

TEST_F(FilingTest, FoldersThatVanishAreNamed) {
  prepare(3);
  select();
  files.beforeStep([&](const FaultyFileSystem::Step& step) {
    if (step.operation == "rename" && step.to.string().starts_with("/mail/a/.Done") &&
        disk.exists("/mail/a/.Done/cur")) {
      (void)disk.renameNoReplace("/mail/a/.Done", "/mail/gone");
    }
  });
  const auto before = everything();
  const auto filed = fileSelection(client(), {"A", "Done", true, true, "", ""});
  ASSERT_FALSE(filed);
  EXPECT_EQ(filed.error().number, -1728);
  EXPECT_EQ(everything(), before);
  EXPECT_TRUE(strayFiles().empty());
}

TEST(Filing, OthersMayRenameUnderOurFeet) {
  for (const bool apart : {false, true}) {
    for (const bool move : {true, false}) {
      FilingStore s;
      s.prepare(6, apart);
      s.select();
      // Before every step of ours, another reader answers a message that lies in the source or in the
      // destination.
      int turn = 0;
      s.files.beforeStep([&](const FaultyFileSystem::Step&) {
        auto messages = s.disk.tree("/mail/a/cur");
        for (const auto& path : s.disk.tree("/mail/b/INBOX/cur")) messages.push_back(path);
        std::erase_if(messages,
                      [](const std::string& path) { return path.ends_with('R') || path.back() == '/'; });
        if (messages.empty() || ++turn % 2 == 0) return;
        const auto& path = messages[static_cast<std::size_t>(turn) % messages.size()];
        (void)s.disk.renameNoReplace(path, path + "R");
      });
      const auto filed = fileSelection(s.client(), {"B", "INBOX", move, true, "", ""});
      ASSERT_TRUE(filed) << filed.error().message;
      s.files.beforeStep({});
      EXPECT_EQ(*filed, 6U);
      const auto all = s.everything();
      EXPECT_EQ(all.size(), move ? 6U : 12U);
      for (const auto& [subject, place] : all) {
        EXPECT_EQ(subject.find("TORN"), std::string::npos);
        if (move) {
          EXPECT_TRUE(place.starts_with("/b/INBOX|")) << subject << place;
        }
        EXPECT_NE(place.find('S'), std::string::npos) << subject << place;
      }
      EXPECT_TRUE(s.strayFiles().empty());
    }
  }
}

TEST_F(FilingTest, UndoTakesBackWhatIsStillThere) {
  prepare(4);
  select();
  const auto before = everything();
  ASSERT_TRUE(fileSelection(client(), {"A", "Done", true, true, "2", ""}));
  ASSERT_TRUE(client().select("A", "Done", {"m0@example.org"}));
  ASSERT_TRUE(fileSelection(client(), {"B", "INBOX", true, false, "", ""}));
  // One message is answered since and keeps that, one is deleted.
  for (const auto& path : disk.tree("/mail/a/.Done/cur")) {
    if (disk.bytes(path).find("Subject: m1") != std::string::npos) {
      auto name = path;
      name.insert(name.rfind(":2,") + 4, "R");
      ASSERT_TRUE(disk.renameNoReplace(path, name));
    }
    if (disk.exists(path) && disk.bytes(path).find("Subject: m2") != std::string::npos) {
      ASSERT_TRUE(disk.remove(path));
    }
  }
  EXPECT_EQ(client().undo()->count, 1U);
  EXPECT_EQ(placeOf("m0"), "/a/.Done|FS|$MailFlagBit1 ;");
  const auto second = client().undo();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->count, 3U);
  ASSERT_EQ(second->kept.size(), 1U);
  EXPECT_NE(second->kept[0].find("m2"), std::string::npos) << second->kept[0];
  EXPECT_EQ(placeOf("m0"), "/a|S|;");
  EXPECT_EQ(placeOf("m1"), "/a|R|;");
  EXPECT_EQ(placeOf("m3"), "/a||;");
  EXPECT_FALSE(client().undo());
}

TEST_F(FilingTest, TwoProcessesFilingTheSameSelectionLoseNothing) {
  prepare(4);
  select();
  const auto otherEnvironment = environment();
  MailClient other(otherEnvironment);
  int turn = 0;
  bool nested = false;
  Result<std::size_t> second = fail(0, "never ran");
  files.beforeStep([&](const FaultyFileSystem::Step& step) {
    if (nested || step.operation != "rename" || ++turn != 2) return;
    nested = true;
    second = fileSelection(other, {"A", "Done", true, true, "", ""});
  });
  const auto first = fileSelection(client(), {"B", "INBOX", true, true, "", ""});
  EXPECT_FALSE(first) << "the other one took the messages";
  ASSERT_TRUE(second) << second.error().message;
  const auto all = everything();
  EXPECT_EQ(all.size(), 4U);
  for (const auto& [subject, place] : all) EXPECT_FALSE(place.starts_with("/a|")) << subject;
  EXPECT_TRUE(strayFiles().empty());
}

TEST_F(FilingTest, SelectionIsByIdsOfBothKindsAndByPipedMessages) {
  prepare(3);
  disk.put("/mail/b/INBOX/new/18.nameless", "Subject: nameless\n\nno id here\n");
  const auto rows = *client().messages("A", "INBOX");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(*client().select("A", "inbox", {rows[0].id, "<" + rows[1].messageId + ">", rows[1].id}), 2U);
  EXPECT_EQ(client().selection()->size(), 2U);
  const auto missing = client().select("A", "INBOX", {rows[0].id, "nobody@nowhere"});
  EXPECT_EQ(missing.error().number, error_number::messageNotFound);
  EXPECT_EQ(client().selection()->size(), 2U) << "unchanged";
  EXPECT_EQ(client().select("Nobody", "INBOX", {}).error().number, error_number::accountNotFound);
  EXPECT_EQ(client().select("A", "Nothing", {}).error().number, error_number::mailboxNotFound);

  EXPECT_EQ(*client().selectPiped("Message-Id: <m2@example.org>\r\nSubject: changed on the way\r\n\r\nbody"),
            1U);
  EXPECT_EQ(client().selection()->front().subject, "m2");
  EXPECT_EQ(*client().selectPiped("Subject: nameless\r\n\r\nno id here\r\n"), 1U);
  EXPECT_EQ(client().selection()->front().subject, "nameless");
  EXPECT_FALSE(client().selection()->front().read);
  EXPECT_EQ(client().selectPiped("Subject: nameless\n\nother text\n").error().number,
            error_number::messageNotFound);
  EXPECT_FALSE(client().selectPiped("  \n"));

  // Another process sees the same selection; what is gone drops out of it.
  EXPECT_EQ(*client().selectAll("A", "INBOX"), 3U);
  const auto otherEnvironment = environment();
  MailClient other(otherEnvironment);
  EXPECT_EQ(other.selection()->size(), 3U);
  ASSERT_TRUE(disk.remove(disk.tree("/mail/a/cur").front()));
  EXPECT_EQ(client().selection()->size(), 2U);
  EXPECT_EQ(disk.info("/profile/mail/state.json", FollowLinks::yes)->permissions, 0600U);
}

TEST_F(FilingTest, ListsCopeWithWhateverLiesInAFolder) {
  prepare(0);
  disk.put("/mail/a/cur/.hidden", "x");
  disk.putDirectory("/mail/a/cur/folder");
  disk.put("/mail/a/cur/unreadable:2,S", "Subject: u\n\n", 0000);
  disk.put("/mail/a/cur/caf\xe9:2,", "Subject: bytes\n\n");
  disk.put("/mail/a/new/1800000000.fresh", "Subject: fresh\n\n");
  disk.put("/mail/elsewhere", "Subject: linked\n\n");
  disk.putLink("/mail/a/cur/1700000001.link:2,S", "/mail/elsewhere");
  disk.putLink("/mail/a/cur/1700000000.dangling:2,S", "/mail/nowhere");
  disk.put("/mail/a/cur/1600000000.empty:2,F", "");
  const auto rows = *client().messages("A", "INBOX");
  std::vector<std::string> subjects;
  for (const auto& row : rows) subjects.push_back(row.subject);
  EXPECT_EQ(subjects, (std::vector<std::string>{"fresh", "linked", "", "bytes", ""}));
  EXPECT_EQ(rows.back().id, "unreadable");
  EXPECT_TRUE(log.contains("unreadable"));
  EXPECT_EQ(*client().select("A", "INBOX", {rows[3].id}), 1U);
  ASSERT_TRUE(fileSelection(client(), {"A", "Done", true, true, "", ""}));
  EXPECT_TRUE(disk.exists("/mail/a/.Done/cur/caf\xe9:2,S"));
  EXPECT_EQ(client().messages("A", "INBOX", 2)->size(), 2U);
}

TEST_F(FilingTest, WithTheHeaderCacheNoMessageIsOpened) {
  prepare(0);
  for (int i = 0; i < 300; ++i) deliver("/mail/a", "m" + std::to_string(i));
  const auto subjects = [](const std::vector<MessageRow>& rows) {
    std::vector<std::string> list;
    for (const auto& row : rows) list.push_back(row.id + row.subject + row.sender + row.date + row.messageId);
    return list;
  };
  const auto first = *client().messages("A", "INBOX");
  // A cache of the version before is no damage.
  const auto cache = disk.tree("/profile/mail/cache").at(0);
  const auto good = disk.bytes(cache);
  disk.put(cache, "QBHEAD01" + good.substr(8));
  restart();
  EXPECT_EQ(subjects(*client().messages("A", "INBOX")), subjects(first));
  EXPECT_EQ(disk.bytes(cache), good);
  EXPECT_TRUE(log.lines(LogLevel::error).empty());
  restart();
  int reads = 0;
  files.failReadsWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
    if (step.operation == "readRange") ++reads;
    return std::nullopt;
  });
  EXPECT_EQ(subjects(*client().messages("A", "INBOX")), subjects(first));
  EXPECT_EQ(reads, 0);
}

}  // namespace
}  // namespace quillbox::mailclient
