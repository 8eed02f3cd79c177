// Mail as nobody should write it, in a folder with what is no mail at all: shown, asked for everything by a
// script, filed with a label and a flag, and taken back.
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "program.h"
#include "store.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;

std::string repeated(int count, const std::function<std::string(int)>& piece) {
  std::string all;
  for (int i = 0; i < count; ++i) all += piece(i);
  return all;
}

struct OddMessage {
  std::string name;
  std::string bytes;
  std::string subject;
};

std::vector<OddMessage> oddMessages() {
  const std::string nestedParts = repeated(10'000, [](int i) {
    return fmt::format("Content-Type: multipart/mixed; boundary=b{0}\n\n--b{0}\n", i);
  });
  const std::string nestedMessages =
      repeated(10'000, [](int) { return std::string("Content-Type: message/rfc822\n\n"); });
  const std::string people = repeated(5'000, [](int i) { return fmt::format("a{}@example.org, ", i); });
  return {
      {"cur/1700000001.noinfo", "Subject: a\n\nx\n", "a"},
      {"new/1700000002.new", "Subject: b\n\nx\n", "b"},
      {"cur/1700000003.caf\xe9:2,S", "Subject: c\n\nx\n", "c"},
      {"cur/1700000004.empty:2,", "", ""},
      {"cur/1700000005.crlf:2,", "Subject: crlf\r\nFrom: a@b\r\n\r\nbody\r\n", "crlf"},
      {"cur/1700000006.cr:2,", "Subject: cr\rFrom: a@b\r\rbody\r", "cr From: a@b  body"},
      {"cur/1700000007.nul:2,", std::string("Subject: n\0l\nFrom: a\0b\n\nbo\0dy\n", 30), "n l"},
      {"cur/1700000008.letters:2,SXYZ123?zq,x=y", "Subject: letters\n\n", "letters"},
      {"cur/1700000009.keywords:2,Sabcz", "Subject: keywords\n\n", "keywords"},
      {"cur/1700000010.parts:2,", "Subject: parts\n" + nestedParts + "\nbottom", "parts"},
      {"cur/1700000011.messages:2,", "Subject: messages\n" + nestedMessages + "\nbottom", "messages"},
      {"cur/1700000012.open:2,", "Subject: open\nContent-Type: multipart/mixed; boundary=q\n\n--q\n\nx",
       "open"},
      {"cur/1700000013.charset:2,", "Subject: =?x-no?Q?=ff?=\nContent-Type: text/plain; charset=x-no\n\n\xff",
       "ÿ"},
      {"cur/1700000014.codes:2,",
       "Subject: =?utf-8?B?!!!?= =?utf-8?Q?=GG\nContent-Transfer-Encoding: base64\n\n!!no***=base64", "*"},
      {"cur/1700000015.raw:2,", "Subject: \xfc\xff\nFrom: \xe4 <a@b>\n\n\xfc", "üÿ"},
      {"cur/1700000016.line:2,", "Subject: " + std::string(4 << 20, 'l') + "\n\nx", "*"},
      {"cur/1700000017.endless:2,",
       "Subject: endless\n" +
           repeated(50'000, [](int) { return std::string("X-Header: " + std::string(60, 'x') + "\n"); }),
       "endless"},
      {"cur/1700000018.headless:2,", "\nonly body", ""},
      {"cur/1700000019.date:2,", "Subject: date 1\nDate: Mon, 99 Foo 99999999 99:99:99 +9999\n\n", "date 1"},
      {"cur/1700000020.date:2,", "Subject: date 2\nDate: Fri, 31 Dec 292277026596 23:59:59 -2359\n\n",
       "date 2"},
      {"cur/1700000021.people:2,", "Subject: people\nTo: " + people + "\n\n", "people"},
      {"cur/1700000022.html:2,",
       "Subject: html\nContent-Type: text/html\n\n" +
           repeated(50'000, [](int) { return std::string("<div>"); }),
       "html"},
      // Looked for its end from every "&", this one would take minutes.
      {"cur/1700000025.ands:2,", "Subject: ands\nContent-Type: text/html\n\n" + std::string(2 << 20, '&'),
       "ands"},
      {"cur/1700000023.with space\nand line:2,S", "Subject: space\n\n", "space"},
      {"cur/99999999999999999999.late:2,", "Subject: late\n\n", "late"},
      {"cur/-5.early:2,", "Subject: early\n\n", "early"},
      {"cur/:2,S", "Subject: nameless\n\n", "nameless"},
      {"cur/2,S", "Subject: two\n\n", "two"},
      {"cur/1700000024.twice:2,S", "Subject: twice\n\n", "twice"},
  };
}

class OddMail : public testing::Test {
 protected:
  void SetUp() override {
    inbox_ = store_.folder("Odd");
    store_.folder("Odd", ".Done");
    ASSERT_EQ(quill({"mail", "add", "Odd", inbox_.string()}).status, 0);
  }
  Ended quill(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--profile", store_.profile().string()});
    return runQuillboxctl(words);
  }
  Ended script(const std::string& text) const {
    return quill({"run", "-e", "tell application \"Mail\"\n" + text + "\nend tell"});
  }
  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(inbox_ / name, std::ios::binary) << bytes;
  }
  void setTime(const std::string& name, std::int64_t seconds) const {
    const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (inbox_ / name).c_str(), times, 0), 0);
  }
  nlohmann::json rows(const std::string& mailbox) const {
    return nlohmann::json::parse(quill({"--json", "messages", "Odd/" + mailbox}).out);
  }
  // What no message is, in the inbox.
  void putForeign() const {
    put("cur/.hidden", "Subject: hidden\n\n");
    fs::create_directory(inbox_ / "cur/1700000030.folder:2,S");
    ASSERT_EQ(mkfifo((inbox_ / "cur/1700000031.fifo:2,S").c_str(), 0600), 0);
    fs::create_symlink("nowhere", inbox_ / "cur/1700000032.dangling:2,S");
    fs::create_symlink("1700000033.loop:2,S", inbox_ / "cur/1700000033.loop:2,S");
    fs::create_symlink("../tmp", inbox_ / "cur/1700000034.linkedfolder:2,S");
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto name = (inbox_ / "cur/1700000035.s:2,S").string();
    ASSERT_LT(name.copy(address.sun_path, sizeof address.sun_path - 1), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(listener);
  }
  // What the files of messages hold, and their times.
  std::multiset<std::pair<std::string, std::int64_t>> contents() const {
    std::multiset<std::pair<std::string, std::int64_t>> all;
    for (const auto* folder : {"cur", "new", ".Done/cur", ".Done/new"}) {
      for (const auto& entry : fs::directory_iterator(inbox_ / folder)) {
        struct stat status{};
        if (lstat(entry.path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
        std::ostringstream bytes;
        bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        all.emplace(bytes.str(), status.st_mtim.tv_sec);
      }
    }
    return all;
  }

  Store store_;
  fs::path inbox_;
};

TEST_F(OddMail, IsShownReadFiledAndTakenBack) {
  const auto messages = oddMessages();
  std::multiset<std::string> expected;
  for (const auto& message : messages) {
    put(message.name, message.bytes);
    if (message.subject != "*") expected.insert(message.subject);
  }
  putForeign();
  // The same id once more, in the other folder and with other flags: one message.
  put("new/1700000024.twice", "Subject: twice\n\n");
  setTime("cur/1700000015.raw:2,", std::int64_t{1} << 35);
  setTime("cur/1700000018.headless:2,", -10'000'000'000);
  put("dovecot-keywords",
      "0 one\n2 three\ngarbage\n-1 neg\n26 over\n99999999999999999999 x\n1\n3 \n2 again\n\xff");

  const auto before = rows("INBOX");
  std::multiset<std::string> subjects;
  std::set<std::string> ids;
  for (const auto& row : before) {
    subjects.insert(row["subject"].get<std::string>());
    ids.insert(row["id"].get<std::string>());
  }
  EXPECT_EQ(before.size(), messages.size());
  EXPECT_EQ(ids.size(), messages.size());
  for (const auto& subject : expected) EXPECT_EQ(subjects.count(subject), expected.count(subject)) << subject;

  const auto read = script(R"(set refused to {}
repeat with m in messages of mailbox "INBOX" of account 1
  try
    get {properties of m, headers of m, recipients of m, mail attachments of m}
  on error text number n
    set end of refused to {id of m, n, text}
  end try
end repeat
refused)");
  EXPECT_EQ(read.out, "{}\n") << read.err;

  const auto files = contents();
  ASSERT_EQ(quill({"select", "--mailbox", "Odd/INBOX", "--all"}).status, 0);
  const auto filed = script(R"(repeat with m in (get selection)
  set background color of m to yellow
  set flag index of m to 3
  set mailbox of m to mailbox "Done" of account 1
end repeat)");
  EXPECT_EQ(filed.status, 0) << filed.err;
  const auto there = rows("Done");
  EXPECT_EQ(there.size(), messages.size());
  for (const auto& row : there) {
    EXPECT_EQ(row["flagIndex"], 3) << row;
    EXPECT_EQ(row["color"], "yellow") << row;
  }
  EXPECT_EQ(rows("INBOX").size(), 1U) << "the other file of the id that is there twice";
  EXPECT_EQ(contents(), files);

  const auto undone = quill({"undo"});
  EXPECT_EQ(undone.out, fmt::format("{} messages taken back\n", messages.size())) << undone.err;
  EXPECT_EQ(rows("INBOX"), before);
  EXPECT_EQ(contents(), files);
}

// A name that is as long as can be has no room for marks.
TEST_F(OddMail, NamesWithoutRoomForMarksAreLeftAsTheyAre) {
  const std::string name = "1700000001." + std::string(244, 'n');
  put("cur/" + name, "Subject: long\n\n");
  ASSERT_EQ(quill({"select", "--mailbox", "Odd/INBOX", "--all"}).status, 0);
  for (const auto* change :
       {"set read status of m to true", "set mailbox of m to mailbox \"Done\" of account 1"}) {
    const auto refused = script(std::string("set m to item 1 of (get selection)\n") + change);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("File name too long"), std::string::npos) << refused.err;
    EXPECT_TRUE(fs::exists(inbox_ / "cur" / name));
  }
  EXPECT_EQ(rows("INBOX").size(), 1U);
}

}  // namespace
}  // namespace quillbox
