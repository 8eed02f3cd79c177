// The profile's own files as a full disk, a later version or a user's hand may leave them. Each kind is
// survived with one line of the log, and no mail is touched.
#include <cerrno>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/text.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

struct OwnFile {
  std::string name;
  Path path;
  std::string newer;                             // the same file of a version that is not known yet
  std::function<Result<void>(MailClient&)> use;  // reads it
};

// A profile with every kind of file, a message filed from "/mail/a" to its folder "Done".
class OwnFiles : public testing::Test {
 protected:
  OwnFiles() {
    mail_.makeFolder("/mail/a");
    mail_.makeFolder("/mail/a/.Done");
    mail_.addAccount("A", "/mail/a");
    for (int i = 0; i < 140; ++i) mail_.deliver("/mail/a", "m" + std::to_string(i), "");
    EXPECT_TRUE(mail_.client().select("A", "INBOX", {"m1@example.org", "m2@example.org"}));
    EXPECT_TRUE(fileSelection(mail_.client(), {"A", "Done", true, true, "2", "ccre"}));
    EXPECT_TRUE(mail_.client().messages("A", "INBOX"));
    const Path done = mail_.disk.tree("/profile/mail/journal").at(0);
    // As a process leaves it that is killed before its last step, and in the middle of the undo of it.
    const auto entry = [&](const char* extension) { return Path(done).replace_extension(extension); };
    const auto replaced = [&](const Path& file, std::string_view from, std::string_view to) {
      return text::replaceAll(mail_.disk.bytes(file), from, to);
    };
    const auto newerJournal = replaced(done, "{\"journal\":", "{\"journal\":9");
    mail_.disk.put(entry(".open"), mail_.disk.bytes(done));
    mail_.disk.put(entry(".undo"), mail_.disk.bytes(done) + "{\"undo\":true}\n");
    const auto start = [](MailClient& client) { return client.start(); };
    const Path accounts = "/profile/mail/accounts.json";
    const Path state = "/profile/mail/state.json";
    const Path cache = mail_.disk.tree("/profile/mail/cache").at(0);
    auto newerCache = mail_.disk.bytes(cache);
    newerCache.replace(6, 2, "99");
    files_ = {
        {"accounts", accounts, replaced(accounts, "\"version\": 1", "\"version\": 99"),
         [](MailClient& client) { return forget(client.accounts()); }},
        {"state", state, replaced(state, "\"version\":1", "\"version\":99"),
         [](MailClient& client) { return forget(client.selection()); }},
        {"cache", cache, newerCache,
         [](MailClient& client) -> Result<void> {
           const auto rows = client.messages("A", "INBOX");
           if (!rows) return forward(rows);
           for (const auto& row : *rows) EXPECT_EQ(row.messageId, row.subject + "@example.org");
           return {};
         }},
        {"journal", entry(".open"), newerJournal, start},
        {"journal of an undo", entry(".undo"), newerJournal, start},
        {"journal of the last filing", done, newerJournal,
         [](MailClient& client) { return forget(client.undo()); }},
    };
    for (const auto& file : files_) good_[file.path] = mail_.disk.bytes(file.path);
    all_ = mail_.everything();
    for (const auto& [subject, place] : all_) subjects_.insert(subject);
  }
  template <class T>
  static Result<void> forget(const Result<T>& result) {
    if (!result) return forward(result);
    return {};
  }
  // A profile and a store as they were, but for one file.
  void restore(const OwnFile& changed, const std::string& bytes) {
    for (const auto& path : mail_.disk.tree("/profile/mail")) {
      if (path.back() == '/') continue;
      ASSERT_TRUE(mail_.disk.remove(path));
    }
    // One entry of the journal at a time: they are of the same filing.
    for (const auto& file : files_) {
      const bool isOther = file.path != changed.path && file.name.starts_with("journal");
      if (!isOther) mail_.disk.put(file.path, good_[file.path], 0600);
    }
    mail_.disk.put(changed.path, bytes, 0600);
    mail_.log.clear();
    mail_.restart();
  }
  // Uses the file; gives whether it was kept aside.
  bool expectSurvived(const OwnFile& file, const std::string& bytes) {
    const auto used = file.use(mail_.client());
    // An undo takes back as much as the file knows, or fails.
    if (file.name != "journal of the last filing") {
      EXPECT_TRUE(used) << used.error().message;
    }
    const Path aside = file.path.string() + ".damaged";
    const bool isAside = mail_.disk.exists(aside);
    EXPECT_EQ(mail_.log.lines(LogLevel::error).size(), isAside ? 1U : 0U);
    for (const auto& line : mail_.log.lines(LogLevel::error)) {
      EXPECT_NE(line.find(aside.string()), std::string::npos) << line;
      EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
    if (isAside) {
      EXPECT_EQ(mail_.disk.bytes(aside), bytes);
    }
    std::multiset<std::string> subjects;
    for (const auto& [subject, place] : mail_.everything()) subjects.insert(subject);
    EXPECT_EQ(subjects, subjects_);
    if (!file.name.starts_with("journal of")) {
      EXPECT_EQ(mail_.everything(), all_) << "mail is where it was";
    }
    return isAside;
  }

  TestMail mail_;
  std::vector<OwnFile> files_;
  std::map<Path, std::string> good_;
  std::multimap<std::string, std::string> all_;
  std::multiset<std::string> subjects_;
};

TEST_F(OwnFiles, ThatAreCutAnywhereAreSurvived) {
  for (const auto& file : files_) {
    const auto& good = good_[file.path];
    // Each byte, but of long files the first and some others.
    for (std::size_t cut = 0; cut < good.size(); cut += cut < 200 ? 1 : 1 + good.size() / 32) {
      SCOPED_TRACE(file.name + " cut to " + std::to_string(cut));
      restore(file, good.substr(0, cut));
      const bool isAside = expectSurvived(file, good.substr(0, cut));
      // Lists end where they end, and say so; the journal grows by lines, and the last may be torn.
      const bool isList = !file.name.starts_with("journal");
      EXPECT_EQ(isAside, isList && cut + 1 < good.size());
      if (HasFailure()) return;
    }
  }
}

TEST_F(OwnFiles, ThatAreGarbageOrOfANewerVersionAreKeptAside) {
  for (const auto& file : files_) {
    const auto& good = good_[file.path];
    ASSERT_NE(file.newer, good) << file.name;
    auto flipped = good;
    flipped[good.size() / 3] = static_cast<char>(flipped[good.size() / 3] ^ 0x80);
    for (const auto& bytes :
         {file.newer, flipped, std::string("garbage\n"), std::string(5000, '\0'), std::string("[]\n"),
          std::string("{\"version\":1}\n"), std::string("\xff\n\n")}) {
      SCOPED_TRACE(file.name + ": " + bytes.substr(0, 40));
      restore(file, bytes);
      // Zeros are what a power cut leaves of lines that were not on the disk yet.
      const bool isEmpty = bytes.front() == '\0' && file.name.starts_with("journal");
      EXPECT_EQ(expectSurvived(file, bytes), !isEmpty);
    }
  }
}

TEST_F(OwnFiles, ThatCannotBeReadAreNamed) {
  for (const auto& file : files_) {
    for (const bool isFolder : {false, true}) {
      SCOPED_TRACE(file.name + (isFolder ? " is a folder" : " is unreadable"));
      restore(file, good_[file.path]);
      ASSERT_TRUE(mail_.disk.remove(file.path));
      if (isFolder) {
        mail_.disk.putDirectory(file.path);
      } else {
        mail_.disk.put(file.path, good_[file.path], 0000);
      }
      // The list of accounts and the selection are needed; an error says which file it is. Without the others
      // everything goes on.
      const auto used = file.use(mail_.client());
      const auto said = mail_.log.lines(LogLevel::error);
      const auto message = used ? (said.empty() ? "" : said.front()) : used.error().message;
      const bool isForeign = isFolder && file.name.starts_with("journal");
      EXPECT_EQ(message.find(file.path.filename().string()) != std::string::npos, !isForeign) << message;
      EXPECT_LE(said.size(), 1U);
      EXPECT_TRUE(mail_.disk.exists(file.path));
      EXPECT_EQ(mail_.everything(), all_);
      if (isFolder) {
        ASSERT_TRUE(mail_.disk.removeDirectory(file.path));
      }
    }
  }
}

TEST_F(OwnFiles, OfAProfileThatIsReadOnlyAreReadAndNothingIsFiled) {
  restore(files_[0], good_[files_[0].path]);
  for (const auto* folder : {"/profile/mail", "/profile/mail/journal", "/profile/mail/cache"}) {
    ASSERT_TRUE(mail_.disk.setPermissions(folder, 0500));
  }
  EXPECT_EQ(mail_.client().messages("A", "INBOX")->size(), 138U);
  EXPECT_EQ(mail_.client().selection()->size(), 2U);
  const auto filed = fileSelection(mail_.client(), {"A", "INBOX", true, true, "1", ""});
  ASSERT_FALSE(filed);
  EXPECT_NE(filed.error().message.find("/profile/mail/journal"), std::string::npos) << filed.error().message;
  EXPECT_EQ(mail_.everything(), all_);
}

}  // namespace
}  // namespace quillbox::mailclient
