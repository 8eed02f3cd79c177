// Application "Mail" as scripts meet it: the application's own script texts, and what users' scripts ask.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "applescript/interpreter.h"
#include "automation/script_texts.h"
#include "mailclient/system_events.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;
namespace texts = script_texts;

std::shared_ptr<const as::Terminology> terms(const std::string& definition) {
  std::ifstream file(std::string(QUILLBOX_SOURCE_DIR) + "/Resources/" + definition);
  const std::string xml((std::istreambuf_iterator<char>(file)), {});
  auto parsed = as::Terminology::parse(xml);
  if (!parsed) fatal(parsed.error().message);
  return *parsed;
}

// Knows the words of another application and does nothing about them.
class Silent final : public as::Application {
 public:
  Silent(std::string name, const std::string& definition)
      : name_(std::move(name)), terms_(terms(definition)) {}
  const std::string& name() const override { return name_; }
  const as::Terminology& terminology() const override { return *terms_; }
  as::Outcome<void> beginEvent(std::chrono::nanoseconds) override { return {}; }
  void endEvent() override {}
  as::ObjectRef root() override { return std::make_shared<Root>(*this); }
  as::Outcome<as::Value> perform(const as::Event&) override { return as::Value::nothing(); }

 private:
  class Root final : public as::ScriptObject {
   public:
    explicit Root(Silent& owner) : owner_(owner) {}
    as::Code classCode() const override { return as::code("capp"); }
    as::Value specifier() const override { return as::Value::application(owner_); }

   private:
    Silent& owner_;
  };
  const std::string name_;
  std::shared_ptr<const as::Terminology> terms_;
};

class Host final : public as::Host {
 public:
  explicit Host(TestMail& mail) : mail_(mail), session_(mail.client(), mailTerms()) {}
  as::Application* application(std::string_view name) override {
    if (name == "Mail" || name == "com.apple.mail") return &session_;
    if (name == "System Events") return &systemEvents_;
    return name == "Quillbox 4" ? &quillbox_ : nullptr;
  }
  std::chrono::nanoseconds now() override { return mail_.clock.now(); }
  std::chrono::seconds localOffset(std::chrono::nanoseconds at) override {
    return mail_.clock.localOffset(at);
  }
  std::chrono::nanoseconds steady() override { return mail_.clock.steady(); }
  std::uint64_t random() override { return 4; }
  void log(std::string_view) override {}
  void wait(std::chrono::nanoseconds, const std::function<bool()>&) override {}
  Result<void> finish() { return session_.finish(); }

 private:
  TestMail& mail_;
  MailSession session_;
  Silent quillbox_{"Quillbox 4", "Quillbox.sdef"};
  SystemEvents systemEvents_{session_, terms("System Events.sdef")};
};

class ScriptTest : public testing::Test, public TestMail {
 protected:
  void SetUp() override {
    makeFolder("/mail/office");
    makeFolder("/mail/office/.Projects.a \"b\" \\c");
    makeFolder("/mail/gmail/INBOX");
    addAccount("Office \"1\"", "/mail/office", "imap.office.example");
    addAccount("Web", "/mail/gmail", "imap.gmail.com");
    ids_ = {(*client().accounts())[0].id, (*client().accounts())[1].id};
    for (int i = 1; i <= 3; ++i) disk.put(name(i), message(i));
    deliver("/mail/gmail/INBOX", "web", "");
    if (!client().makeMailbox(localAccountName, "Receipts/2024")) FAIL();
  }
  static Path name(int i) {
    return "/mail/office/new/170000000" + std::to_string(i) + ".n" + std::to_string(i);
  }
  static std::string message(int i) {
    const auto n = std::to_string(i);
    return "From: \"Lovelace, Ada\" <ada@example.org>\nTo: Bob <bob@example.org>, carl@example.org\nCc: "
           "d@example.org\n"
           "Subject: Subject " +
           n + "\nMessage-ID: <m" + n +
           "@example.org>\nDate: Sun, 1 Mar 2026 09:15:00 +0100\n\n"
           "Body " +
           n + ".\n";
  }
  // The result in source form, or "error NUMBER: TEXT".
  std::string run(const std::string& script) {
    Host host(*this);
    const auto program = as::compile(script, host);
    if (!program)
      return "syntax error " + std::to_string(program.error().number) + ": " + program.error().message;
    as::Interpreter interpreter(*program, host);
    const auto result = interpreter.run();
    const auto shown = result
                           ? interpreter.source(*result)
                           : "error " + std::to_string(result.error().number) + ": " + result.error().message;
    if (const auto finished = host.finish(); !finished) return "finish: " + finished.error().message;
    return shown;
  }
  std::string mail(const std::string& expression) {
    return run("tell application \"Mail\" to " + expression);
  }

  std::vector<std::string> ids_;
};

TEST_F(ScriptTest, TheTransferTextFilesTheSelection) {
  ASSERT_EQ(*client().selectAll("Office \"1\"", "INBOX"), 3U);
  texts::TransferOptions options;
  options.label = MessageLabelAppEnum::yellow;
  options.flag = MessageFlagAppEnum::gray;
  options.playSound = true;
  options.scriptRequiredMessage = "needs the script";
  EXPECT_EQ(run(texts::transferSelectedMessages("Projects/a \"b\" \\c", "Office \"1\"", options)), "3");
  const auto all = everything();
  ASSERT_EQ(all.size(), 4U);
  for (int i = 1; i <= 3; ++i) {
    const auto found = all.find("Subject " + std::to_string(i));
    ASSERT_NE(found, all.end());
    EXPECT_EQ(found->second,
              "/office/.Projects.a \"b\" \\c|FS|$MailFlagBit1 $MailFlagBit2 $QuillboxLabelYellow ");
  }
  EXPECT_EQ(client().selection()->size(), 3U);
  EXPECT_EQ(client().undo()->count, 3U);
  EXPECT_EQ(everything().find("Subject 1")->second, "/office||");

  // Copies into a local mailbox, with the flag removed and no label.
  options = {};
  options.flag = MessageFlagAppEnum::remove;
  options.mode = texts::TransferMode::copy;
  options.markAsRead = false;
  EXPECT_EQ(run(texts::transferSelectedMessages("Receipts/2024", "On My Mac", options)), "3");
  EXPECT_EQ(client().messages(localAccountName, "Receipts/2024")->size(), 3U);
  EXPECT_EQ(client().messages("Office \"1\"", "INBOX")->size(), 3U);
  EXPECT_EQ(client().undo()->count, 3U);
  EXPECT_TRUE(client().messages(localAccountName, "Receipts/2024")->empty());
}

TEST_F(ScriptTest, WebMailAndMissingMailboxesFailBeforeAnythingMoves) {
  ASSERT_TRUE(client().selectAll("Web", "INBOX"));
  const auto before = disk.tree("/mail");
  texts::TransferOptions options;
  options.scriptRequiredMessage = "needs the script";
  EXPECT_EQ(run(texts::transferSelectedMessages("Receipts", "On My Mac", options)).substr(0, 11),
            "error -1404");
  ASSERT_TRUE(client().selectAll("Office \"1\"", "INBOX"));
  const auto missing = run(texts::transferSelectedMessages("No \"such\"", "Web", options));
  EXPECT_EQ(missing.substr(0, 11), "error -1728") << missing;
  EXPECT_EQ(disk.tree("/mail"), before);
  ASSERT_TRUE(client().selectNothing());
  EXPECT_EQ(run(texts::transferSelectedMessages("Receipts", "On My Mac", options)), "0");
}

TEST_F(ScriptTest, TheQueriesAnswer) {
  EXPECT_EQ(run(texts::accounts()), "{{\"" + ids_[0] +
                                        "\", \"Office \\\"1\\\"\", \"imap.office.example\"}, {\"" + ids_[1] +
                                        "\", \"Web\", \"imap.gmail.com\"}}");
  EXPECT_EQ(run(texts::accountNames()), "{\"Office \\\"1\\\"\", \"Web\", \"On My Mac\"}");
  EXPECT_EQ(run(texts::anyGmailAccounts()), "true");
  EXPECT_EQ(run(texts::mailboxCount()), "5");
  EXPECT_EQ(mail("set enabled of account \"Web\" to false"), "false");
  EXPECT_EQ(run(texts::mailboxCount()), "4");
  EXPECT_EQ(run(texts::frontWindowBounds()), "{80, 60, 1180, 820}");
  ASSERT_TRUE(client().select("Office \"1\"", "INBOX", {"m2@example.org"}));
  EXPECT_EQ(run(texts::selectedMessages(texts::Include::yes, texts::Include::no)),
            "{{\"m2@example.org\", \"Lovelace, Ada <ada@example.org>\", \"Subject 2\", \"Body 2.\n\", "
            "missing value}}");
  EXPECT_EQ(run(texts::automationTest()), "");
}

TEST_F(ScriptTest, MailboxesAreMadeAndShown) {
  const auto create = [&](const char* name, const char* parent, const char* account) {
    return run(texts::createMailbox(name, parent, account, "there already"));
  };
  EXPECT_EQ(create("Neu \"x\" \\y", "Büro", "Office \"1\""), "true");
  EXPECT_EQ(create("Neu \"x\" \\y", "Büro", "Office \"1\""), "error -2100: there already");
  EXPECT_EQ(create("Top", "", "On My Mac"), "true");
  EXPECT_EQ(create("Sub", "Top", "On My Mac"), "true");
  EXPECT_TRUE(create("a.b", "", "Office \"1\"").find("error -4010") == 0);
  EXPECT_TRUE(disk.exists("/mail/office/.B&APw-ro.Neu \"x\" \\y/cur"));
  EXPECT_TRUE(disk.exists("/profile/mail/local/Top/Sub/cur"));

  run(texts::showMailbox("Top/Sub", "On My Mac", texts::Activation::mail, texts::Viewer::frontmost));
  EXPECT_EQ(mail("selected mailboxes of message viewer 1"), "{mailbox \"Top/Sub\" of application \"Mail\"}");
  run(texts::showMailbox("Büro", "Office \"1\"", texts::Activation::mail, texts::Viewer::newViewer));
  EXPECT_EQ(mail("count of message viewers"), "2");
  EXPECT_EQ(mail("name of window 1"), "\"Büro\"");
  EXPECT_EQ(mail("close window 1"), "");
  EXPECT_EQ(mail("name of every window"), "{\"Sub\"}");
  mail("close every message viewer");
  run(texts::showMailbox("Top", "On My Mac", texts::Activation::mail, texts::Viewer::frontmost));
  EXPECT_EQ(mail("name of message viewer 1"), "\"Top\"") << "one is opened when there is none";
  const auto missing =
      run(texts::showMailbox("Nope", "Web", texts::Activation::mail, texts::Viewer::newViewer));
  EXPECT_EQ(missing, "error -2404: The mailbox 'Nope' in 'Web' could not be found");
}

// One after the other: each begins with what the one before has left.
TEST_F(ScriptTest, CommandsTakeListsAndTheMailboxesOfAllAccounts) {
  makeFolder("/mail/office/.Trash");
  const std::string two = "make new message viewer\nmake new message viewer\n";
  const std::string inbox = "mailbox \"INBOX\" of account 1";
  const std::string notUnderstood = "error -1708";
  const std::vector<std::pair<std::string, std::string>> table = {
      {two + "close every window\ncount windows", "0"},
      {two + "close (every window whose index is 1)\ncount message viewers", "1"},
      {two + "set w to rest of windows\nclose w\ncount windows", "1"},
      {two + "tell every message viewer to close saving no\ncount windows", "0"},
      {"close every window", ""},
      {two + "close {window 1, message viewer 1}\ncount windows", "1"},
      {"close {window 1, " + inbox + "}", notUnderstood},
      {"close", notUnderstood},
      {"close {1}", notUnderstood},
      {"{count windows, exists window 1, exists window 2}", "{1, true, false}"},
      {"save every window", ""},
      {"quit saving no", ""},
      {"open {mailbox \"Trash\" of account 1, message 2 of " + inbox + ", message 1 of " + inbox +
           "}\n{name of selected mailboxes, subject of selected messages} of message viewer 1",
       "{{\"Trash\", \"INBOX\"}, {\"Subject 2\", \"Subject 3\"}}"},
      {"open {" + inbox + ", window 1}", notUnderstood},
      {"set selected mailboxes of message viewer 1 to {inbox, trash mailbox}\n"
       "name of account of selected mailboxes of message viewer 1",
       "{\"Office \\\"1\\\"\", \"Web\", \"Office \\\"1\\\"\"}"},
      {"set selected mailboxes of message viewer 1 to 3", "error -1703"},
      {"delete (messages of " + inbox + " whose subject ends with \"1\")\nmove message 1 of " + inbox +
           " to trash mailbox\nset mailbox of message 1 of " + inbox +
           " to trash mailbox\nsubject of messages of mailbox \"Trash\" of account 1",
       "{\"Subject 3\", \"Subject 2\", \"Subject 1\"}"},
      {"move message 1 of mailbox \"INBOX\" of account 2 to trash mailbox", "error -10024"},
      {"set mailbox of message 1 of mailbox \"INBOX\" of account 2 to trash mailbox", "error -10006"},
      {"duplicate messages of trash mailbox to inbox\ncount messages of " + inbox, "3"},
  };
  for (const auto& [script, expected] : table) {
    const auto answer = run("tell application \"Mail\"\n" + script + "\nend tell");
    EXPECT_EQ(expected.starts_with("error") ? answer.substr(0, expected.size()) : answer, expected)
        << script << "\n"
        << answer;
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(client().undo()->count, 3U) << "copies, then what was deleted";
  EXPECT_EQ(mail("unread count of " + inbox), "3");
}

TEST_F(ScriptTest, ObjectsPrintAndAnswerAsTheDictionarySays) {
  const auto account = "account id \"" + ids_[0] + "\" of application \"Mail\"";
  const std::vector<std::pair<std::string, std::string>> table = {
      {"get mailboxes",
       "{mailbox \"Receipts\" of application \"Mail\", mailbox \"Receipts/2024\" of application \"Mail\"}"},
      {"get every mailbox of account 1",
       "{mailbox \"INBOX\" of " + account + ", mailbox \"Projects/a \\\"b\\\" \\\\c\" of " + account + "}"},
      {"name of every mailbox of account 1", "{\"INBOX\", \"a \\\"b\\\" \\\\c\"}"},
      {"name of container of mailbox \"Receipts/2024\"", "\"Receipts\""},
      {"get account of mailbox \"Receipts\"", "missing value"},
      {"name of account of mailbox \"INBOX\" of account 2", "\"Web\""},
      {"exists mailbox \"receipts\"", "false"},
      {"exists mailbox \"2024\" of mailbox \"Receipts\"", "true"},
      {"class of account 1", "imap account"},
      {"account type of account 1", "imap"},
      {"count of messages of mailbox \"INBOX\" of account 1", "3"},
      {"unread count of mailbox \"INBOX\" of account 1", "3"},
      {"unread count of inbox", "4"},
      {"count of messages of inbox", "4"},
      {"subject of message 1 of mailbox \"INBOX\" of account 1", "\"Subject 3\""},
      {"subject of (every message of mailbox \"INBOX\" of account 1 whose message id is \"m2@example.org\")",
       "{\"Subject 2\"}"},
      {"name of to recipients of message 1 of mailbox \"INBOX\" of account 1", "{\"Bob\", missing value}"},
      {"address of every recipient of message 1 of mailbox \"INBOX\" of account 1",
       "{\"bob@example.org\", \"carl@example.org\", \"d@example.org\"}"},
      {"content of header \"subject\" of message 1 of mailbox \"INBOX\" of account 1", "\"Subject 3\""},
      {"read status of message 1 of mailbox \"INBOX\" of account 1", "false"},
      {"flag index of message 1 of mailbox \"INBOX\" of account 1", "-1"},
      {"background color of message 1 of mailbox \"INBOX\" of account 1", "none"},
      {"date sent of message 1 of mailbox \"INBOX\" of account 1",
       "date \"Sunday, March 1, 2026 at 8:15:00 AM\""},
      {"extract name from \"Ada <ada@example.org>\"", "\"Ada\""},
      {"extract address from \"Ada <ada@example.org>\"", "\"ada@example.org\""},
      {"get selection", "{}"},
      {"launch", ""},
      {"run", ""},
      {"reopen", ""},
      {"visible of window 1", "true"},
      {"sort column of message viewer 1", "date received column"},
      {"name", "\"Mail\""},
  };
  for (const auto& [script, expected] : table) EXPECT_EQ(mail(script), expected) << script;

  const std::vector<std::pair<std::string, std::string>> failing = {
      {"delete mailbox \"Receipts\"", "error -10000"},
      {"set name of mailbox \"Receipts\" to \"x\"", "error -10003"},
      {"get mailbox \"Nope\" of account 1", "error -1728"},
      {"get message 9 of mailbox \"INBOX\" of account 1", "error -1719"},
      {"get message id 12345 of mailbox \"INBOX\" of account 1", "error -1728"},
      {"set flag index of message 1 of mailbox \"INBOX\" of account 1 to 7", "error -10006"},
      {"set background color of message 1 of mailbox \"INBOX\" of account 1 to other", "error -10006"},
      {"set mailbox of message 1 of mailbox \"INBOX\" of account 1 to account 2", "error -10006"},
      {"make new mailbox", "error -1701"},
      {"make new account", "error -2710"},
      {"get account \"Nobody\"", "error -1728"},
  };
  const auto before = disk.tree("/mail");
  for (const auto& [script, expected] : failing)
    EXPECT_EQ(mail(script).substr(0, expected.size()), expected) << mail(script);
  EXPECT_EQ(disk.tree("/mail"), before);
}

// Each property that the dictionary promises is answered, and those that it calls read-only cannot be set.
TEST_F(ScriptTest, EveryPropertyOfTheDictionaryIsAnsweredOrRefused) {
  const std::map<std::string, std::string> objects = {
      {"application", ""},
      {"account", "account 1"},
      {"mailbox", "mailbox \"INBOX\" of account 1"},
      {"message", "message 1 of mailbox \"INBOX\" of account 1"},
      {"recipient", "recipient 1 of message 1 of mailbox \"INBOX\" of account 1"},
      {"header", "header 1 of message 1 of mailbox \"INBOX\" of account 1"},
      {"message viewer", "message viewer 1"},
      {"window", "window 1"},
  };
  mail("make new message viewer");
  std::ifstream file(std::string(QUILLBOX_SOURCE_DIR) + "/Resources/Mail.sdef");
  static const std::regex pattern("<(class|property) name=\"([^\"]+)\"");
  const std::string* object = nullptr;
  std::size_t asked = 0;
  for (std::string line; std::getline(file, line);) {
    std::smatch match;
    if (!std::regex_search(line, match, pattern)) continue;
    if (match[1] == "class") {
      const auto known = objects.find(match[2].str());
      object = known == objects.end() ? nullptr : &known->second;
      continue;
    }
    if (object == nullptr) continue;
    ++asked;
    const auto reference = match[2].str() + (object->empty() ? "" : " of " + *object);
    const auto answer = mail("get " + reference);
    EXPECT_FALSE(answer.empty() || answer.starts_with("error")) << reference << ": " << answer;
    if (line.find("access=\"r\"") == std::string::npos) continue;
    const auto refusal = mail("set " + reference + " to missing value");
    EXPECT_EQ(refusal.substr(0, 12), "error -10003") << reference << ": " << refusal;
  }
  EXPECT_GT(asked, 70U);
}

TEST_F(ScriptTest, MarksAreSeenAtOnceAndMessagesStayTheSameWhereverTheyGo) {
  const std::string first = "message 1 of mailbox \"INBOX\" of account 1";
  EXPECT_EQ(run("tell application \"Mail\"\nset m to " + first +
                "\nset m to message id (id of m) of mailbox of m\nset read status of m to true\n"
                "set background color of m to blue\nset flagged status of m to true\n"
                "set a to {read status of m, background color of m, flag index of m}\n"
                "set background color of m to remove\nset flagged status of m to false\n"
                "set mailbox of m to mailbox \"Receipts\"\nset junk mail status of m to true\n"
                "return a & {flag index of m, background color of m, name of mailbox of m, subject of "
                "m}\nend tell"),
            "{true, blue, 0, -1, none, \"Receipts\", \"Subject 3\"}");
  EXPECT_EQ(mail("junk mail status of message 1 of mailbox \"Receipts\""), "true");
  EXPECT_EQ(
      mail("move message 1 of mailbox \"Receipts\" to mailbox \"INBOX\" of account 1").find("message id "),
      0U);
  EXPECT_EQ(mail("count of messages of mailbox \"INBOX\" of account 1"), "3");
  EXPECT_EQ(mail("duplicate " + first + " to mailbox \"Receipts/2024\"").find("message id "), 0U);
  EXPECT_EQ(mail("count of messages of mailbox \"Receipts/2024\""), "1");
  EXPECT_EQ(mail("delete " + first), "");
  EXPECT_EQ(mail("deleted status of " + first), "true") << "an account without a trash marks what is deleted";
  // A number of an earlier run still names the message.
  const auto reference = mail("get " + first);
  EXPECT_EQ(run("tell application \"Mail\" to subject of " +
                reference.substr(0, reference.find(" of application"))),
            "\"Subject 3\"");
}

// Rows of the inbox: messages 4 and 2 as one conversation, 3, 1.
TEST_F(ScriptTest, KeysReachTheViewerInFront) {
  disk.put(name(4),
           "In-Reply-To: <m2@example.org>\nSubject: Subject 4\nMessage-ID: <m4@example.org>\n\nBody.\n");
  mail("set selected mailboxes of message viewer 1 to mailbox \"INBOX\" of account 1");
  const std::string keys = "\ntell application \"System Events\" to ";
  const auto press = [&](const std::string& first, const std::string& pressed) {
    return run("tell application \"Mail\"\nset theInbox to mailbox \"INBOX\" of account 1\n" + first +
               "\nend tell" + pressed + "\ntell application \"Mail\" to get subject of selection");
  };
  const auto select = [](int message) {
    return "set selected messages of message viewer 1 to {message " + std::to_string(message) +
           " of theInbox}";
  };
  const struct {
    std::string before;
    std::string pressed;
    const char* selected;
  } rows[] = {
      {select(2), keys + "tell process \"Mail\" to key code 126", "{\"Subject 4\", \"Subject 2\"}"},
      {select(2), keys + "key code 125", "{\"Subject 1\"}"},
      {select(3), keys + "tell application process \"mail\" to key code 124 using {}", "{\"Subject 2\"}"},
      {select(3), keys + "key code 125", "{\"Subject 3\"}"},
      {select(3), keys + "key code 123" + keys + "key code 126", "{\"Subject 2\", \"Subject 4\"}"},
      // What this run has moved out of the list is below no row.
      {select(4) + "\nset mailbox of message 4 of theInbox to mailbox \"Receipts\"", keys + "key code 125",
       "{\"Subject 4\", \"Subject 2\"}"},
      {"set organized by conversation of message viewer 1 to false\n" + select(1), keys + "key code 125",
       "{\"Subject 3\"}"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(press(row.before, row.pressed), row.selected) << row.before << row.pressed;

  const auto state = disk.bytes("/profile/mail/state.json");
  const std::string prefix = "System Events got an error: ";
  const std::pair<std::string, std::string> refused[] = {
      {"key code 36", "error -10000: " + prefix + "Mail does nothing for the key with code 36"},
      {"key code -1", "error -10000: " + prefix + "Mail does nothing for the key with code -1"},
      {"key code 125 using {command down, shift down}",
       "error -10000: " + prefix +
           "Mail does nothing for the key with code 125 and command down, shift down"},
      {"key code 125 using option down",
       "error -10000: " + prefix + "Mail does nothing for the key with code 125 and option down"},
      {"key code 125 using {1}", "error -1703"},
      {"key code \"down\"", "error -1703"},
      {"tell process \"Mail\" to key code", "error -1703"},
      {"tell process \"Finder\" to key code 125", "error -1728"},
      {"keystroke \"a\"", "error -600"},
      {"tell process \"Mail\" to perform action \"AXRaise\" of window 1", "error -600"},
      {"tell process \"Mail\" to set frontmost to true", "error -600"},
      {"get name of every process", "error -600"},
      {"count processes", "error -600"},
      {"activate", "error -600"},
  };
  for (const auto& [script, error] : refused) {
    EXPECT_EQ(run("tell application \"System Events\" to " + script).substr(0, error.size()), error)
        << script;
  }
  EXPECT_EQ(disk.bytes("/profile/mail/state.json"), state);
}

}  // namespace
}  // namespace quillbox::mailclient
