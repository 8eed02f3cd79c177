// Every other text that goes to the mail client, run for what it does on disk.
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "in_process.h"

namespace quillbox {
namespace {

using Created = QuillboxResult<Mailbox>;
using Done = QuillboxResult<void>;

class Actions : public InProcess {
 protected:
  std::string describe(const Done& done) {
    return done ? "ok" : std::to_string(done.error().toError(all_->localizer).number);
  }
};

TEST_F(Actions, MailboxesAreMadeWhereTheyBelong) {
  EXPECT_TRUE(all_->mail.addAccount(
      {"Odd", store_.folder("Odd"), "odd.example.org", mailclient::AccountType::unknown}));
  const struct {
    const char* name;
    const char* parent;
    const char* account;
    std::int64_t error;  // 0: made
    const char* says;
  } rows[] = {
      {"Receipts", "", "On My Mac", 0, "On My Mac/Receipts"},
      {"2024", "Receipts", "On My Mac", 0, "On My Mac/Receipts/2024"},
      {"Top", "", "Work", 0, "Work/Top"},
      {"Deep \"q\" \\", "Top/New", "Work", 0, "Work/Top/New/Deep \"q\" \\"},
      {"a/b", "", "Work", 0, "Work/a/b"},
      {"Archive", "", "Work", -2100, "Archive"},
      {"New", "Top", "Work", -2100, "New"},
      {"Deep \"q\" \\", "Top/New", "Work", -2100, "Deep \"q\" \\"},
      {"Receipts", "", "On My Mac", -2100, "Receipts"},
      {"2024", "Receipts", "On My Mac", -2100, "2024"},
      {"New", "Deep", "Odd", -2500, "Deep/New"},
      {"New", "", "Odd", -2500, "'/New'"},
      {"New", "", "Nobody", -1728, "Nobody"},
      {"", "", "Work", -4010, "empty"},
      {"", "", "On My Mac", -4010, "empty"},
      {"a\nb", "", "Work", -4010, "a\\nb"},
      {"x\" & (error number 99) & \"", "Top", "Nobody", -1728, "Nobody"},
  };
  for (const auto& row : rows) {
    const auto before = store_.snapshot();
    const auto made = await<Created>(
        [&](auto done) { all_->actions.createMailbox(row.name, row.parent, row.account, std::move(done)); });
    SCOPED_TRACE(std::string(row.account) + " " + row.parent + " " + row.name);
    if (row.error == 0) {
      ASSERT_TRUE(made.has_value()) << made.error().identifier();
      EXPECT_EQ(made->id, row.says);
      EXPECT_TRUE(all_->mail.messages(made->account, made->path).has_value());
    } else {
      ASSERT_FALSE(made.has_value());
      const auto error = made.error().toError(all_->localizer);
      EXPECT_EQ(error.number, row.error) << error.message;
      EXPECT_NE(error.message.find(row.says), std::string::npos) << error.message;
      EXPECT_EQ(store_.snapshot(), before);
    }
  }
}

TEST_F(Actions, ShowingSelectsTheMailboxAndActivates) {
  const auto tell = [&](const char* text) {
    return await<AppleScriptResult>(
        [&](auto done) { all_->helper.runScriptText(text, "", std::move(done)); });
  };
  const auto shown = [&] {
    return tell(
        "tell application \"Mail\" to return {count message viewers, name of item 1 of (get selected "
        "mailboxes of "
        "message viewer 1)}");
  };
  const auto show = [&](const Mailbox& mailbox, script_texts::Viewer viewer) {
    frontend_.events.clear();
    return describe(
        await<Done>([&](auto done) { all_->actions.showMailbox(mailbox, viewer, std::move(done)); }));
  };
  const auto archive = Mailbox::make("Archive", "Archive", "Work");
  const auto label = Mailbox::make("Label", "Label", "Web");
  EXPECT_EQ(show(archive, script_texts::Viewer::frontmost), "ok");
  EXPECT_EQ(shown()->description(), "{1, \"Archive\"}");
  EXPECT_TRUE(frontend_.events.empty()) << "the mail client comes to the front";
  ASSERT_TRUE(all_->settings.stayOpenAfterShowingMailbox.set(true));
  EXPECT_EQ(show(label, script_texts::Viewer::newViewer), "ok");
  EXPECT_EQ(shown()->item(1)->int32Value(), 2);
  EXPECT_EQ(frontend_.events, std::vector<std::string>{"activate"});

  // The frontmost visible viewer takes the mailbox, wherever it stands in the list of viewers.
  const char* shownByEach = R"(tell application "Mail"
set names to {}
repeat with v in message viewers
set end of names to (id of v as text) & (name of item 1 of (get selected mailboxes of v))
end repeat
return names
end tell)";
  EXPECT_EQ(tell(shownByEach)->description(), R"({"3Label", "1Archive"})");
  ASSERT_TRUE(tell("tell application \"Mail\" to set visible of message viewer 1 to false"));
  const auto inbox = Mailbox::make("INBOX", "INBOX", "Web");
  EXPECT_EQ(show(inbox, script_texts::Viewer::frontmost), "ok");
  EXPECT_EQ(tell(shownByEach)->description(), R"({"3Label", "1INBOX"})") << "a hidden viewer is not used";
  ASSERT_TRUE(tell("tell application \"Mail\" to delete every message viewer"));
  EXPECT_EQ(tell(shownByEach)->description(), "{}");
  EXPECT_EQ(show(archive, script_texts::Viewer::frontmost), "ok");
  EXPECT_EQ(shown()->description(), "{1, \"Archive\"}") << "without a viewer one is made";

  EXPECT_EQ(show(Mailbox::make("Gone", "Gone", "Work"), script_texts::Viewer::frontmost), "-2404");
  EXPECT_EQ(show(Mailbox::make("Gone", "Gone", "On My Mac"), script_texts::Viewer::newViewer), "-2404");
  EXPECT_TRUE(log_.contains("Trying to show: Gone of account: Work"));
}

TEST_F(Actions, FlagsAndLabelsStayWithoutFiling) {
  ASSERT_TRUE(all_->mail.select("Work", "INBOX", {"1.Work@example.org"}));
  const auto first = [&] { return all_->mail.selection()->front(); };
  for (std::int64_t flag = 0; flag <= 6; ++flag) {
    EXPECT_EQ(describe(await<Done>([&](auto done) { all_->actions.flagSelection(flag, std::move(done)); })),
              "ok");
    EXPECT_EQ(first().flagIndex, flag);
  }
  for (const std::int64_t nothing : {-2, 7}) {
    EXPECT_EQ(
        describe(await<Done>([&](auto done) { all_->actions.flagSelection(nothing, std::move(done)); })),
        "ok");
    EXPECT_EQ(first().flagIndex, 6);
  }
  await<Done>([&](auto done) { all_->actions.flagSelection(-1, std::move(done)); });
  EXPECT_EQ(first().flagIndex, -1);
  for (std::size_t i = 2; i < RawTexts<MessageLabelAppEnum>::values.size(); ++i) {
    const auto label = static_cast<MessageLabelAppEnum>(i);
    await<Done>([&](auto done) { all_->actions.labelSelection(label, std::move(done)); });
    EXPECT_EQ(first().color, rawText(label));
  }
  await<Done>([&](auto done) { all_->actions.labelSelection(MessageLabelAppEnum::none, std::move(done)); });
  EXPECT_EQ(first().color, "yellow");
  await<Done>([&](auto done) { all_->actions.labelSelection(MessageLabelAppEnum::remove, std::move(done)); });
  EXPECT_EQ(first().color, "none");
}

TEST_F(Actions, Queries) {
  EXPECT_EQ(describe(await<Done>([&](auto done) { all_->actions.testAutomation(std::move(done)); })), "ok");
  const auto bounds = await<QuillboxResult<WindowBounds>>(
      [&](auto done) { all_->actions.frontmostMailWindowBounds(std::move(done)); });
  ASSERT_TRUE(bounds.has_value()) << bounds.error().identifier();
  EXPECT_LT((*bounds)[0], (*bounds)[2]);
  EXPECT_LT((*bounds)[1], (*bounds)[3]);

  using Names = QuillboxResult<std::vector<std::string>>;
  EXPECT_EQ(await<Names>([&](auto done) { all_->accounts.getAccountNames(std::move(done)); }),
            Names({"Work", "Web", "On My Mac"}));
  using Flag = QuillboxResult<bool>;
  EXPECT_EQ(await<Flag>([&](auto done) { all_->accounts.anyGmailAccounts(std::move(done)); }), Flag(true));

  // The count is that of the list which the retrieval delivers.
  std::size_t listed = 0;
  const auto lists = all_->notifications.observe<MailboxReloadPayload>(
      notification::shouldReloadWithList,
      [&](const MailboxReloadPayload& payload) { listed = payload.mailboxes.size(); });
  await<bool>([&](const auto& done) {
    EXPECT_TRUE(all_->retrieval.start(RetrievalVariant::current, [done](const auto&) { done(true); }));
  });
  EXPECT_GE(listed, 5U);
  const auto decision = await<CountDecision>(
      [&](auto done) { EXPECT_TRUE(all_->retrieval.checkCount([&] { return listed; }, std::move(done))); });
  EXPECT_EQ(decision, CountDecision::same);
}

// A store that is gone is told once, and the list that was there stays.
TEST_F(Actions, AMissingMaildirFailsTheRetrieval) {
  std::filesystem::remove_all(store_.mail() / "Web");
  std::vector<AppleScriptError> errors;
  const auto seen = all_->notifications.observe<AppleScriptError>(
      notification::didReceiveError, [&](const AppleScriptError& error) { errors.push_back(error); });
  const auto result = await<AppleScriptResult>([&](const auto& done) {
    EXPECT_TRUE(all_->retrieval.start(RetrievalVariant::current,
                                      [done](const AppleScriptResult& ended) { done(ended); }));
  });
  ASSERT_FALSE(result.has_value());
  EXPECT_EQ(errors.size(), 1U);
  EXPECT_NE(result.error().message.find("Web"), std::string::npos) << result.error().message;
}

}  // namespace
}  // namespace quillbox
