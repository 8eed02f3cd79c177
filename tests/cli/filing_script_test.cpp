// The handlers of the filing script, run by the real interpreter over a real Maildir.
#include <algorithm>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "in_process.h"

namespace quillbox {
namespace {

class FilingScript : public InProcess {
 protected:
  FilingScript() {
    EXPECT_EQ(all_->installer.install(all_->helper.directoryURL()), FilingScriptInstaller::Installed::yes);
    const auto shown = await<QuillboxResult<void>>([&](auto done) {
      all_->actions.showMailbox(Mailbox::make("INBOX", "INBOX", "Work"), script_texts::Viewer::frontmost,
                                std::move(done));
    });
    EXPECT_TRUE(shown.has_value());
    const auto inbox = all_->mail.messages("Work", "INBOX");
    for (const auto& message : *inbox) shown_.push_back(message.id);
  }

  AppleScriptResult call(const std::string& handler, std::vector<Descriptor> parameters = {}) {
    return await<AppleScriptResult>(
        [&](auto done) { all_->helper.runFilingScriptHandler(handler, parameters, std::move(done)); });
  }
  // Selects the messages at these places of the list that is shown.
  void select(const std::vector<std::size_t>& places) {
    std::vector<std::string> ids;
    for (const auto place : places) ids.push_back(shown_[place]);
    ASSERT_TRUE(all_->mail.select("Work", "INBOX", ids));
  }
  // The selected messages' places.
  std::vector<std::size_t> selected() {
    std::vector<std::size_t> places;
    const auto messages = all_->mail.selection();
    for (const auto& message : *messages) {
      const auto it = std::ranges::find(shown_, message.id);
      places.push_back(static_cast<std::size_t>(it - shown_.begin()));
    }
    return places;
  }

  std::vector<std::string> shown_;  // the inbox from top to bottom
};

using Places = std::vector<std::size_t>;

TEST_F(FilingScript, TheSelectionMovesToTheNeighbourAfterFiling) {
  const struct {
    Places filed;
    bool down;
    FilingAction action;
    Places then;
  } rows[] = {
      {{2}, true, FilingAction::move, {3}},
      {{2}, false, FilingAction::move, {1}},
      {{1, 3}, true, FilingAction::move, {4}},
      {{1, 3}, false, FilingAction::move, {0}},
      {{4}, true, FilingAction::move, {3}},                          // nothing below
      {{0}, false, FilingAction::move, {1}},                         // nothing above
      {{0, 1, 2, 3, 4}, true, FilingAction::move, {0, 1, 2, 3, 4}},  // none is left: it follows them
      {{2}, true, FilingAction::copy, {2}},                          // it stays
  };
  ASSERT_TRUE(all_->settings.useFilingScript.set(true));
  for (const auto& row : rows) {
    SCOPED_TRACE(
        fmt::format("first {} of {}, {}", row.filed.front(), row.filed.size(), row.down ? "down" : "up"));
    ASSERT_TRUE(all_->settings.moveSelectionDirection.set(row.down ? MoveSelectionDirectionAppEnum::down
                                                                   : MoveSelectionDirectionAppEnum::up));
    select(row.filed);
    std::optional<TransferOutcome> outcome;
    ASSERT_TRUE(all_->filing.transferSelectedMessages(
        {Mailbox::make("Archive", "Archive", "Work"), row.action, KeepOpen::yes},
        [&](const TransferOutcome& ended) { outcome = ended; }));
    all_->dispatch.runMainUntil([&] { return outcome.has_value(); });
    EXPECT_EQ(outcome->count, static_cast<int>(row.filed.size()));
    EXPECT_EQ(selected(), row.then);
    ASSERT_TRUE(all_->mail.undo());
  }
}

TEST_F(FilingScript, SelectsTheMessageAboveAndBelow) {
  const struct {
    Places before;
    const char* handler;
    Places after;
  } rows[] = {
      {{2}, "selectMessageDown", {3}},  {{2}, "selectMessageUp", {1}},   {{1, 2}, "selectMessageDown", {3}},
      {{1, 2}, "selectMessageUp", {0}}, {{4}, "selectMessageDown", {4}}, {{0}, "selectMessageUp", {0}},
      {{}, "selectMessageDown", {0}},   {{}, "selectMessageUp", {4}},
  };
  for (const auto& row : rows) {
    if (row.before.empty()) {
      ASSERT_TRUE(all_->mail.selectNothing());
    } else {
      select(row.before);
    }
    const auto done = call(row.handler);
    ASSERT_TRUE(done.has_value()) << done.error().description();
    EXPECT_EQ(selected(), row.after) << row.handler << " from " << row.before.size();
  }
}

TEST_F(FilingScript, TellsItsVersionAndTheWindow) {
  EXPECT_EQ(call("versionNumber")->int32Value(), AppleScriptHelper::currentFilingScriptVersion);
  select({0});
  const auto bounds = call("getFrontmostMailWindowBounds");
  ASSERT_TRUE(bounds.has_value()) << bounds.error().description();
  EXPECT_LT(bounds->item(1)->int32Value(), bounds->item(3)->int32Value());
}

TEST_F(FilingScript, PressesKeysInMail) {
  // The newest message answers the oldest: both are the first row.
  std::ofstream(store_.folder("Work") / "new" / "1700000099.answer.host")
      << "In-Reply-To: <1.Work@example.org>\nSubject: answer\nMessage-ID: <answer@example.org>\n\nBody\n";
  const auto inbox = all_->mail.messages("Work", "INBOX");
  shown_.clear();
  for (const auto& message : *inbox) shown_.push_back(message.id);
  const auto off = Descriptor::boolean(false);
  const auto press = [&](int key, const Descriptor& command) {
    return call("sendKeyCodeToMail", {Descriptor::int32(key), command, off, off, off});
  };
  select({1});
  ASSERT_TRUE(call("selectMessageUp").has_value());
  EXPECT_EQ(selected(), (Places{0, 5})) << "a collapsed conversation is selected whole";
  ASSERT_TRUE(press(124, off).has_value());
  EXPECT_EQ(selected(), Places{0});
  ASSERT_TRUE(call("selectMessageDown").has_value());
  EXPECT_EQ(selected(), Places{5});
  ASSERT_TRUE(press(123, off).has_value());
  EXPECT_EQ(selected(), (Places{5, 0}));
  // Any other key says so and does nothing.
  const auto refused = press(123, Descriptor::boolean(true));
  ASSERT_FALSE(refused.has_value());
  EXPECT_EQ(refused.error().number, -10000);
  EXPECT_NE(refused.error().message.find("key 123"), std::string::npos) << refused.error().message;
  EXPECT_EQ(selected(), (Places{5, 0}));
}

// What is selected is shown, so that there are neighbours.
TEST_F(FilingScript, ASelectionElsewhereIsShown) {
  select({0, 1});
  ASSERT_TRUE(all_->settings.useFilingScript.set(true));
  const auto file = [&](const char* mailbox) {
    std::optional<TransferOutcome> outcome;
    ASSERT_TRUE(all_->filing.transferSelectedMessages({Mailbox::make(mailbox, mailbox, "Work")},
                                                      [&](const auto& ended) { outcome = ended; }));
    all_->dispatch.runMainUntil([&] { return outcome.has_value(); });
  };
  file("Archive");
  ASSERT_TRUE(all_->mail.select("Work", "Archive", {shown_[0]}));
  file("INBOX");
  EXPECT_EQ(selected(), Places{1});
}

// The list of parameters is the application's to give; whatever else comes, nothing is filed.
TEST_F(FilingScript, RefusesParametersThatAreNone) {
  select({0, 1});
  const auto before = store_.snapshot();
  const auto text = [](const char* value) { return Descriptor::text(value); };
  for (const auto& parameter :
       {Descriptor(), text("Archive"), Descriptor::int32(3), Descriptor::list({}),
        Descriptor::list({text("Archive")}), Descriptor::list({text("Archive"), text("Work")}),
        Descriptor::list({text("Archive"), text("Work"), text("perhaps"), text("perhaps")}),
        Descriptor::list(
            {Descriptor::list({}), text("Work"), Descriptor::boolean(true), Descriptor::boolean(true)})}) {
    EXPECT_FALSE(call("processMessages", {parameter}).has_value()) << parameter.description();
    EXPECT_EQ(store_.snapshot(), before) << parameter.description();
  }
}

}  // namespace
}  // namespace quillbox
