// Whole journeys of the real program over a real Maildir.
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

#include "program.h"

namespace quillbox {
namespace {

using nlohmann::json;

class Journey : public WithQuillboxctl {
 protected:
  Journey() {
    store_.fill("Work", 5);
    store_.folder("Work", ".Projects.2024");
    store_.folder("Work", ".Archive");
    store_.fill("Web", 3);
    store_.folder("Web", ".Label");
    store_.folder("Local");
    store_.folder("Local", ".Receipts");
    const auto added = quillLines({"mail add Work '" + path("Work") + "' --server mail.example.org",
                                   "mail add Web '" + path("Web") + "' --server imap.gmail.com",
                                   "mail add 'On My Mac' '" + path("Local") + "'"});
    for (const auto& line : added) EXPECT_EQ(line.dump(), R"({"ok":null})");
  }

  std::string path(const char* account) const { return (store_.mail() / account).string(); }

  std::vector<json> quillLines(const std::vector<std::string>& lines) {
    std::string input;
    for (const auto& line : lines) input += line + "\n";
    const auto ended = quill({"batch"}, input);
    EXPECT_EQ(ended.status, 0) << ended.err;
    std::vector<json> answers;
    std::istringstream out(ended.out);
    for (std::string line; std::getline(out, line);) answers.push_back(json::parse(line, nullptr, false));
    return answers;
  }
};

TEST_F(Journey, ThreeMessagesIntoAMailboxWithAnAwkwardName) {
  EXPECT_EQ(answer({"new-mailbox", "q\"b\\c", "--parent", "Projects", "--account", "Work"}),
            (json{{"mailbox", "Work/Projects/q\"b\\c"}}));
  const auto rows = answer({"mailboxes", "--query", "pro q\"b\\"});
  ASSERT_EQ(rows["rows"].size(), 1U);
  EXPECT_EQ(rows["rows"][0]["name"], "q\"b\\c");
  EXPECT_EQ(rows["selected"], "Work/Projects/q\"b\\c");

  answer({"settings", "set", "labelFiledMessages", "yellow"});
  answer({"settings", "set", "flagFiledMessages", "6"});
  EXPECT_EQ(answer({"select", "--mailbox", "Work/INBOX", "5.Work@example.org", "<4.Work@example.org>",
                    "1700000003.Work3.host"}),
            (json{{"count", 3}}));
  EXPECT_EQ(answer({"file", "--query", "pro q\"b\\"}),
            (json{{"count", 3}, {"mailbox", "Work/Projects/q\"b\\c"}}));

  EXPECT_EQ(store_.messages("Work").size(), 2U);
  const auto filed = answer({"messages", "Work/Projects/q\"b\\c"});
  ASSERT_EQ(filed.size(), 3U);
  for (const auto& message : filed) {
    EXPECT_EQ(message["read"], true);
    EXPECT_EQ(message["flagIndex"], 6);
    EXPECT_EQ(message["color"], "yellow");
  }
  // On disk: seen, flagged, and the same files as before.
  for (const auto& name : store_.messages("Work", ".Projects.q\"b\\c")) {
    EXPECT_TRUE(std::regex_match(name, std::regex(R"(170000000[345]\.Work[345]\.host:2,FS[a-z]*)"))) << name;
  }
  EXPECT_EQ(answer({"settings", "get", "filedCount"}), 3);
  EXPECT_EQ(answer({"undo"})["count"], 3);
  EXPECT_EQ(store_.messages("Work").size(), 5U);
}

TEST_F(Journey, WebMailIsRefusedBeforeAnythingIsTouched) {
  answer({"select", "--mailbox", "Web/INBOX", "--all"});
  const auto before = store_.snapshot();
  const auto ended = quill({"file", "Work/Archive"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_NE(ended.err.find("(-1404)\n"), std::string::npos) << ended.err;
  EXPECT_EQ(store_.snapshot(), before);
  EXPECT_EQ(answer({"settings", "get", "filedCount"}), 0);
}

TEST_F(Journey, BadInputIsOneClearLineAndChangesNothing) {
  const std::string missing = (store_.root / "missing").string();
  const std::string blocked = (store_.root / "blocked").string();
  std::ofstream(blocked) << "no folder";
  const struct {
    std::vector<std::string> words;
    int status;
    const char* number;
    const char* says;  // part of the line
  } rows[] = {
      {{"file", "Work/Nowhere"}, 1, "-2404", "Work/Nowhere"},
      {{"file", "Work/Archive"}, 1, "-4001", "selected"},
      {{"file", "--query", "zzzz"}, 1, "-4007", "zzzz"},
      {{"file", "Work/Ar\xff"}, 1, "-4013", "UTF-8"},
      {{"file", "Work/a\nb"}, 1, "-2404", "Work/a\\nb"},
      {{"file", "Work/🗂️\\\""}, 1, "-2404", "🗂️"},
      {{"file"}, 2, "-4011", "MAILBOX-ID"},
      {{"file", "Work/Archive", "--copy", "--archive"}, 2, "-4011", "--archive"},
      {{"file", "Work/Archive", "--query", "x"}, 2, "-4011", "--query"},
      {{"messages", "Nobody/INBOX"}, 1, "-4003", "Nobody/INBOX"},
      {{"messages", "Work/Nowhere"}, 1, "-2404", "Nowhere"},
      {{"select", "--mailbox", "Work/INBOX", "1.Work@example.org", "no such"}, 1, "-4002", "no such"},
      {{"select", "--mailbox", "Work/INBOX"}, 2, "-4011", "message ids"},
      {{"select", "--all"}, 2, "-4011", "--mailbox"},
      {{"show", "Work/Nowhere"}, 1, "-2404", "Nowhere"},
      {{"new-mailbox", "Archive", "--account", "Work"}, 1, "-2100", "Archive"},
      {{"new-mailbox", "x", "--account", "Nobody"}, 1, "-1728", "Nobody"},
      {{"flag", "pink"}, 2, "-4011", "pink"},
      {{"flag", "red"}, 1, "-4001", "selected"},
      {{"label", "none"}, 2, "-4011", "none"},
      {{"gmail-modes", "set", "Nobody", "direct"}, 1, "-4003", "Nobody"},
      {{"gmail-modes", "set", "Web", "sideways"}, 2, "-4011", "sideways"},
      {{"mail", "add", "New", missing}, 1, "-4009", "missing"},
      {{"mail", "add", "New", blocked}, 1, "-4009", "blocked"},
      {{"mail", "add", "Work", path("Work")}, 1, "-4004", "Work"},
      {{"mail", "add", "A/B", path("Work")}, 1, "-4010", "A/B"},
      {{"mail", "add", "New", path("Work"), "--type", "pigeon"}, 2, "-4011", "pigeon"},
      {{"mail", "remove", "Nobody"}, 1, "-4003", "Nobody"},
      {{"settings", "get", "nope"}, 1, "-4005", "nope"},
      {{"settings", "set", "caseSensitive", "perhaps"}, 1, "-4006", "perhaps"},
      {{"settings", "set", "listFontSize", "big"}, 1, "-4006", "big"},
      {{"settings", "set", "favoriteMailboxes", "[{}]"}, 1, "-4006", "favoriteMailboxes"},
      {{"run", "-e", "tell application \"Mail\"\n  frobnicate it now\nend tell"}, 1, "-2741", "-e:2:"},
      {{"run", "-e", "error \"two\nlines\" number 77"}, 1, "77", "two\\nlines"},
      {{"run", "-e", "return 1", "--handler", "none"}, 1, "-1708", "none"},
      {{"run", missing}, 1, "2", "missing"},
      {{"run"}, 2, "-4011", "FILE"},
      {{"filing-script", "version"}, 1, "-1404", "script"},
      {{"undo"}, 1, "-4007", ""},
      {{"frobnicate"}, 2, "-4011", "frobnicate"},
      {{}, 2, "-4011", ""},
      {{"accounts", "--loud"}, 2, "-4011", "--loud"},
      {{"accounts", "extra"}, 2, "-4011", "extra"},
  };
  quillLines({"run -e 'tell application \"Mail\" to get selection'"});
  const auto before = store_.snapshot();
  const auto settings = answer({"settings", "list"});
  for (const auto& row : rows) {
    const auto ended = quill(row.words);
    const std::string what = row.words.empty() ? "nothing" : row.words.front() + " " + row.words.back();
    EXPECT_EQ(ended.status, row.status) << what << ": " << ended.err;
    EXPECT_EQ(ended.out, "") << what;
    EXPECT_EQ(std::ranges::count(ended.err, '\n'), 1) << what << ": " << ended.err;
    EXPECT_TRUE(ended.err.starts_with("quillboxctl: ")) << what << ": " << ended.err;
    EXPECT_TRUE(ended.err.ends_with(std::string("(") + row.number + ")\n")) << what << ": " << ended.err;
    EXPECT_NE(ended.err.find(row.says), std::string::npos) << what << ": " << ended.err;
  }
  EXPECT_EQ(store_.snapshot(), before);
  EXPECT_EQ(answer({"settings", "list"}), settings);
}

TEST_F(Journey, HelpForEveryCommand) {
  const auto help = quill({"--help"});
  EXPECT_EQ(help.status, 0);
  std::istringstream lines(help.out.substr(help.out.find("Subcommands:")));
  int commands = 0;
  for (std::string line; std::getline(lines, line);) {
    std::smatch name;
    if (!std::regex_search(line, name, std::regex(R"(^  ([a-z-]+) )"))) continue;
    ++commands;
    const auto own = quill({name[1], "--help"});
    EXPECT_EQ(own.status, 0) << name[1];
    EXPECT_NE(own.out.find("Usage: quillboxctl " + name[1].str()), std::string::npos) << own.out;
  }
  EXPECT_GE(commands, 15);
}

TEST_F(Journey, ABatchGoesOnAfterBadLines) {
  const auto answers = quillLines({
      "# a comment and an empty line give nothing",
      "",
      "select --mailbox Work/INBOX 1.Work@example.org",
      "file 'Work/Archive",
      "nonsense",
      "file Work/Nowhere",
      "batch",
      "settings get \xff",
      "file \"Work/Archive\" --copy",
      "messages Work/Archive",
      "new-mailbox 'Später \\ ¬' --parent Projects --account Work",
      "mailboxes --query spater",
      "run -e 'return {1, \"[a,b]\"}'",
      "run -e 'on h(x, y)\\nreturn x' --handler h",
      "settings set searchScope [\\\"Work\\\"]",
      "settings get searchScope",
  });
  ASSERT_EQ(answers.size(), 14U);
  EXPECT_EQ(answers[0], (json{{"ok", {{"count", 1}}}}));
  for (const std::size_t i : {1U, 2U, 4U, 5U})
    EXPECT_EQ(answers[i]["error"]["number"], i == 5 ? -4013 : -4011) << i;
  EXPECT_EQ(answers[3]["error"]["number"], -2404);
  EXPECT_EQ(answers[6]["ok"], (json{{"count", 1}, {"mailbox", "Work/Archive"}}));
  EXPECT_EQ(answers[7]["ok"].size(), 1U);
  EXPECT_EQ(answers[9]["ok"]["rows"][0]["path"], "Projects/Später \\ ¬");
  EXPECT_EQ(answers[10]["ok"], (json{1, "[a,b]"}));
  EXPECT_TRUE(answers[11].contains("error"));
  EXPECT_EQ(answers[13]["ok"], json{"Work"});
  EXPECT_EQ(store_.messages("Work").size(), 5U) << "it was a copy";
}

TEST_F(Journey, ThousandsOfCommandsShareOneProcessAndOneList) {
  std::vector<std::string> lines;
  for (int i = 0; i < 2000; ++i)
    lines.push_back(i % 2 == 0 ? "mailboxes --query rece" : "settings get filedCount");
  const auto answers = quillLines(lines);
  ASSERT_EQ(answers.size(), lines.size());
  for (std::size_t i = 0; i < answers.size(); ++i) {
    if (i % 2 == 0) {
      ASSERT_EQ(answers[i]["ok"]["selected"], "On My Mac/Receipts") << i;
    } else {
      ASSERT_EQ(answers[i]["ok"], 0) << i;
    }
  }
}

TEST_F(Journey, PipedMessageIsSelectedAndRead) {
  std::ostringstream message;
  message << std::ifstream(store_.mail() / "Work" / "cur" / "1700000002.Work2.host:2,").rdbuf();
  EXPECT_EQ(quill({"select", "--stdin"}, message.str()).status, 0);
  const auto selection = answer({"selection", "--body", "--source"});
  ASSERT_EQ(selection.size(), 1U);
  EXPECT_EQ(selection[0]["subject"], "Work 2");
  EXPECT_EQ(selection[0]["body"], "Body 2\n");
  EXPECT_EQ(selection[0]["source"], message.str());
  EXPECT_TRUE(answer({"selection"})[0]["body"].is_null());
}

TEST_F(Journey, FlagLabelAndShow) {
  const auto answers = quillLines(
      {"select --mailbox Work/INBOX --all", "flag purple", "label green", "messages Work/INBOX",
       "flag remove", "label remove", "messages Work/INBOX", "show Work/Projects/2024",
       "show --new-viewer Work/Archive", "run -e 'tell application \"Mail\" to count message viewers'"});
  ASSERT_EQ(answers.size(), 10U);
  for (const std::size_t i : {1U, 2U, 4U, 5U}) EXPECT_EQ(answers[i]["ok"], (json{{"count", 5}})) << i;
  for (const auto& message : answers[3]["ok"]) {
    EXPECT_EQ(message["flagIndex"], 5);
    EXPECT_EQ(message["color"], "green");
  }
  for (const auto& message : answers[6]["ok"]) {
    EXPECT_EQ(message["flagIndex"], -1);
    EXPECT_EQ(message["color"], "none");
  }
  EXPECT_TRUE(answers[7]["ok"].is_null());
  EXPECT_EQ(answers[9]["ok"], 2);
}

// The older retrieval script gives the same list.
TEST_F(Journey, BothRetrievalsAgree) {
  answer({"new-mailbox", "q\"b", "--parent", "Projects/2024", "--account", "Work"});
  const auto current = answer({"mailboxes"});
  answer({"settings", "set", "useLegacyMailboxRetrieval", "true"});
  EXPECT_EQ(answer({"mailboxes"}), current);
  EXPECT_GE(current["rows"].size(), 8U);
}

}  // namespace
}  // namespace quillbox
