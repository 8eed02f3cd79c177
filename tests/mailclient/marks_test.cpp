// Marks: flags and keywords of a message, their meaning, and the letters of a folder.
#include <algorithm>
#include <cerrno>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "mailclient/keywords.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

Marks anyMarks() {
  Marks marks;
  for (const char c : {'D', 'F', 'P', 'R', 'S', 'T'}) {
    if (*rc::gen::arbitrary<bool>()) marks.flags += c;
  }
  const auto change = MarkChange::flagIndex(*rc::gen::inRange(-1, 7));
  change.apply(marks);
  MarkChange::label(*rc::gen::element(LabelColor::none, LabelColor::blue, LabelColor::yellow)).apply(marks);
  // In capitals it would be one of our own.
  for (const auto* name : {"$junk", "~theirs"}) {
    if (*rc::gen::arbitrary<bool>()) marks.keywords.emplace_back(name);
  }
  for (const char letter : {'x', 'y'}) {
    if (*rc::gen::arbitrary<bool>()) marks.unnamed += letter;
  }
  return marks;
}

RC_GTEST_PROP(Marks, ChangesCanBeTakenBackAndJoined, ()) {
  const auto a = anyMarks();
  const auto b = anyMarks();
  const auto c = anyMarks();
  auto there = a;
  MarkChange::between(a, b).apply(there);
  RC_ASSERT(there == b);
  MarkChange::between(b, a).apply(there);
  RC_ASSERT(there == a);
  auto joined = MarkChange::between(a, b);
  joined.then(MarkChange::between(b, c));
  joined.apply(there);
  RC_ASSERT(there == c);
  // What others marked meanwhile stays.
  auto theirs = b;
  theirs.keywords.emplace_back("~others");
  MarkChange::between(b, a).apply(theirs);
  RC_ASSERT(theirs.hasKeyword("~others"));
}

TEST(Marks, FlagAndLabelColoursFollowTheKeywords) {
  for (int index = noFlagIndex; index <= lastFlagIndex; ++index) {
    Marks marks;
    MarkChange::flagIndex(5).apply(marks);
    MarkChange::flagIndex(index).apply(marks);
    EXPECT_EQ(marks.flagIndex(), index);
    EXPECT_EQ(marks.has(flag::flagged), index >= 0);
    EXPECT_EQ(marks.hasKeyword("$MailFlagBit1"), index >= 0 && (index & 2) != 0);
  }
  Marks marks;
  marks.keywords = {"$mailflagbit2"};
  EXPECT_EQ(marks.flagIndex(), -1) << "the bits mean nothing without the flag";
  marks.flags = "F";
  EXPECT_EQ(marks.flagIndex(), 4) << "keywords do not mind case";
  MarkChange::label(LabelColor::red).apply(marks);
  MarkChange::label(LabelColor::gray).apply(marks);
  EXPECT_EQ(marks.label(), LabelColor::gray);
  MarkChange::label(LabelColor::none).apply(marks);
  EXPECT_EQ(marks.keywords, std::vector<std::string>{"$mailflagbit2"});
}

TEST(KeywordTable, KeepsLinesOfOthers) {
  auto table = KeywordTable::parse("0 one\nnonsense\n2 three\n26 toofar\n2x y");
  EXPECT_EQ(table.letterOf("ONE"), 'a');
  EXPECT_EQ(table.nameOf('c'), "three");
  EXPECT_EQ(table.nameOf('b'), "");
  EXPECT_EQ(table.add("two", "xy"), 'b');
  EXPECT_EQ(table.text(), "0 one\nnonsense\n2 three\n26 toofar\n2x y\n1 two\n");
  EXPECT_EQ(table.add("five", "ed"), 'f') << "d and e mean something to somebody";
  for (int i = 3; i < 25; ++i) EXPECT_TRUE(table.add("k" + std::to_string(i), ""));
  EXPECT_EQ(table.add("one too many", ""), std::nullopt);
}

TEST(KeywordFile, IsChangedUnderTheServersLock) {
  TestMail mail;
  mail.disk.put("/m/dovecot-uidlist", "3 V1 N2\n");
  mail.disk.put("/m/dovecot-keywords", "0 old\n");
  mail.disk.put("/m/cur/1.x:2,FSab", "b has a meaning that is not in the file");
  std::vector<std::string> locks;
  mail.files.beforeStep([&](const FaultyFileSystem::Step& step) {
    if (step.to == "/m/dovecot-keywords") locks = mail.disk.tree("/m");
  });
  const auto before = mail.disk.info("/m/dovecot-keywords", FollowLinks::yes)->modified;
  const auto table = requireKeywords(mail.environment(), "/m", {"old", "fresh"}, "token");
  ASSERT_TRUE(table);
  EXPECT_EQ(mail.disk.bytes("/m/dovecot-keywords"), "0 old\n2 fresh\n");
  EXPECT_GE(mail.disk.info("/m/dovecot-keywords", FollowLinks::yes)->modified,
            before + std::chrono::seconds(1));
  EXPECT_EQ(std::ranges::count(locks, "/m/dovecot-uidlist.lock"), 1);
  EXPECT_EQ(mail.disk.tree("/m"),
            (std::vector<std::string>{"/m/cur/1.x:2,FSab", "/m/dovecot-keywords", "/m/dovecot-uidlist"}));

  // Somebody else's lock is waited for, then reported; one that is old is taken away.
  mail.disk.put("/m/dovecot-uidlist.lock", "123:host");
  const auto blocked = requireKeywords(mail.environment(), "/m", {"more"}, "token");
  ASSERT_FALSE(blocked);
  EXPECT_NE(blocked.error().message.find("dovecot-uidlist.lock"), std::string::npos);
  EXPECT_EQ(mail.disk.bytes("/m/dovecot-uidlist.lock"), "123:host");
  mail.clock.advance(std::chrono::hours(1));
  EXPECT_TRUE(requireKeywords(mail.environment(), "/m", {"more"}, "token"));
  EXPECT_EQ(mail.disk.tree("/m").size(), 3U);
}

}  // namespace
}  // namespace quillbox::mailclient
