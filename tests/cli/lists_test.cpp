// The mailbox list, the user's three lists, and the suggestions, as the real program shows them.
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "program.h"

namespace quillbox {
namespace {

using nlohmann::json;

// "Résumés" as a Maildir spells it.
constexpr const char* kResumes = ".R&AOk-sum&AOk-s";

class Lists : public WithQuillboxctl {
 protected:
  Lists() {
    store_.fill("Work", 4);
    for (int i = 0; i < 11; ++i) store_.folder("Work", fmt::format(".Projects.{}", 2010 + i));
    store_.folder("Work", kResumes);
    store_.fill("Home", 0);
    addAccount("Work");
    addAccount("Home");
  }

  std::vector<std::string> ids(const json& mailboxes) {
    std::vector<std::string> ids;
    for (const auto& mailbox : mailboxes) ids.push_back(mailbox["id"]);
    return ids;
  }
  std::vector<std::string> rows(const std::string& query, const char* mark = nullptr) {
    std::vector<std::string> ids;
    const auto list = answer({"mailboxes", "--query", query});
    for (const auto& row : list["rows"]) {
      if (mark == nullptr || row[mark] == true) ids.push_back(row["id"]);
    }
    return ids;
  }

  using Ids = std::vector<std::string>;
};

TEST_F(Lists, TheUsersListsStandInTheList) {
  EXPECT_EQ(ids(answer({"favorites", "add", "Work/Résumés"})), Ids{"Work/Résumés"});
  EXPECT_EQ(ids(answer({"favorites", "add", "Work/Projects/2019"})),
            (Ids{"Work/Résumés", "Work/Projects/2019"}));
  EXPECT_EQ(ids(answer({"favorites", "add", "Work/Résumés"})), (Ids{"Work/Résumés", "Work/Projects/2019"}));
  EXPECT_EQ(ids(answer({"excluded", "add", "Work/Projects/2010"})), Ids{"Work/Projects/2010"});
  answer({"settings", "set", "rememberRecentMailboxes", "true"});
  json recents;
  for (int i = 0; i < 11; ++i)
    recents = answer({"recents", "add", fmt::format("Work/Projects/{}", 2010 + i)});
  EXPECT_EQ(recents.size(), 10U);
  EXPECT_EQ(recents[0]["id"], "Work/Projects/2020");
  EXPECT_EQ(recents[9]["id"], "Work/Projects/2011");

  EXPECT_EQ(rows("resume"), Ids{"Work/Résumés"});
  EXPECT_EQ(rows("201", "favorite"), Ids{"Work/Projects/2019"});
  const auto matching = rows("work");  // the account is not searched
  EXPECT_TRUE(matching.empty());
  const auto all = rows("");
  ASSERT_EQ(all.size(), 13U);  // both inboxes, ten years and the résumés; neither the excluded nor "Projects"
  EXPECT_EQ((Ids{all.begin(), all.begin() + 4}),
            (Ids{"Work/Résumés", "Work/Projects/2019", "Work/Projects/2020", "Work/Projects/2018"}));

  // An entry whose mailbox has gone is not shown, and can be taken out.
  std::filesystem::remove_all(store_.mail() / "Work" / kResumes);
  EXPECT_EQ(rows("", "favorite"), Ids{"Work/Projects/2019"});
  EXPECT_EQ(ids(answer({"favorites", "list"})), (Ids{"Work/Résumés", "Work/Projects/2019"}));
  EXPECT_EQ(ids(answer({"favorites", "remove", "Work/Résumés"})), Ids{"Work/Projects/2019"});
  answer({"settings", "set", "enableFavoritesSync", "true"});
  EXPECT_EQ(ids(answer({"sync-favorites"})), Ids{"Work/Projects/2019"});
  EXPECT_EQ(answer({"recents", "clear"}), json::array());
  EXPECT_EQ(answer({"excluded", "clear"}), json::array());
  EXPECT_EQ(rows("2010"), Ids{"Work/Projects/2010"});
}

TEST_F(Lists, WhatWasLearntIsSuggested) {
  answer({"settings", "set", "useSmartFilingSuggestions", "true"});
  answer({"settings", "set", "alwaysShowSmartSuggestionsOnTop", "true"});
  answer({"select", "--mailbox", "Work/INBOX", "1.Work@example.org", "2.Work@example.org"});
  answer({"file", "Work/Projects/2015"});
  answer({"select", "--mailbox", "Work/INBOX", "3.Work@example.org"});
  const auto suggested = answer({"suggest"});
  ASSERT_EQ(suggested.size(), 1U);
  EXPECT_EQ(suggested[0]["path"], "Projects/2015");
  EXPECT_EQ(suggested[0]["account"], "Work");
  EXPECT_EQ(suggested[0]["probability"], 1.0);
  EXPECT_EQ(rows("", "suggested"), Ids{"Work/Projects/2015"});
  EXPECT_EQ(rows("").front(), "Work/Projects/2015");

  EXPECT_EQ(answer({"train", "Work/INBOX"}), (json{{"examples", 2}}));
  const auto log = answer({"log", "suggestions"});
  ASSERT_EQ(log.size(), 4U);
  EXPECT_EQ(log[0]["mailboxPath"], "Projects/2015");
  EXPECT_EQ(log[3]["mailboxPath"], "INBOX");
  EXPECT_EQ(answer({"suggest", "--threshold", "0"}).size(), 2U);
  EXPECT_EQ(answer({"suggest", "--threshold", "0", "--limit", "1"}).size(), 1U);

  // What the log holds serves as a file of examples, in both places.
  std::string lines;
  for (const auto& example : log) lines += example.dump() + "\n";
  const auto file = (store_.root / "examples").string();
  std::ofstream(file) << lines;
  const auto ended = quill({"--json", "suggest", "--examples", "-", "--train-examples", file}, lines);
  EXPECT_EQ(std::ranges::count(ended.out, '\n'), 4) << ended.out << ended.err;
  EXPECT_TRUE(ended.out.starts_with(R"([{"path":")")) << ended.out;

  EXPECT_EQ(quill({"log", "suggestions", "--clear"}).status, 0);
  EXPECT_EQ(answer({"log", "suggestions"}), json::array());
  EXPECT_EQ(answer({"suggest"}), json::array());
  EXPECT_EQ(rows("", "suggested"), Ids());
}

TEST_F(Lists, BadInputIsOneClearLine) {
  const auto file = (store_.root / "examples").string();
  std::ofstream(file) << "\n{\"subject\":7}\n";
  const struct {
    std::vector<std::string> words;
    int status;
    const char* number;
    const char* says;
  } table[] = {
      {{"mailboxes", "--query", "\xff"}, 1, "-4013", "UTF-8"},
      {{"favorites"}, 2, "-4011", "subcommand"},
      {{"favorites", "add"}, 2, "-4011", "ID"},
      {{"favorites", "add", "Work/Nowhere"}, 1, "-2404", "Work/Nowhere"},
      {{"recents", "remove", "Work/INBOX"}, 1, "-2404", "recents"},
      {{"excluded", "remove", "\xff"}, 1, "-4013", "UTF-8"},
      {{"train", "Work/Nowhere"}, 1, "-2404", "Work/Nowhere"},
      {{"suggest"}, 1, "-4001", "selected"},
      {{"suggest", "--limit", "-1"}, 2, "-4011", "--limit"},
      {{"suggest", "--threshold", "nan"}, 2, "-4011", "--threshold"},
      {{"suggest", "--threshold", "1.01"}, 2, "-4011", "--threshold"},
      {{"suggest", "--examples", ""}, 2, "-4011", "FILE"},
      {{"suggest", "--examples", "-", "--train-examples", "-"}, 2, "-4011", "standard input"},
      {{"suggest", "--examples", file + ".no"}, 1, "2", "examples.no"},
      {{"suggest", "--examples", file}, 1, "-4008", "examples:2: "},
      {{"suggest", "--train-examples", file, "--examples", "-"}, 1, "-4008", "“subject”"},
      {{"sync-favorites"}, 1, "-4014", "enableFavoritesSync is off"},
      {{"log"}, 2, "-4011", "subcommand"},
      {{"log", "weather"}, 2, "-4011", "There is no command “log weather”"},
      {{"favorites", "frob", "Work/INBOX"}, 2, "-4011", "There is no command “favorites frob”"},
      {{"favorites", "--frob"}, 2, "-4011", "subcommand"},
      {{"frob", "add"}, 2, "-4011", "There is no command “frob”"},
  };
  for (const auto& row : table) {
    const auto ended = quill(row.words);
    const std::string what = row.words.front() + " " + row.words.back();
    EXPECT_EQ(ended.status, row.status) << what << ": " << ended.err;
    EXPECT_EQ(ended.out, "") << what;
    EXPECT_EQ(std::ranges::count(ended.err, '\n'), 1) << what << ": " << ended.err;
    EXPECT_TRUE(ended.err.ends_with(std::string("(") + row.number + ")\n")) << what << ": " << ended.err;
    EXPECT_NE(ended.err.find(row.says), std::string::npos) << what << ": " << ended.err;
  }
  EXPECT_EQ(rows(std::string(100'000, 'a')), Ids());
  EXPECT_EQ(rows(std::string(50'000, '{') + std::string(50'000, '$')), Ids());
}

}  // namespace
}  // namespace quillbox
