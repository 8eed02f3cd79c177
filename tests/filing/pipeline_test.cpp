// The transfer's steps and bookkeeping against recorders: what happens when, and what does not.
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filing/filing_pipeline.h"
#include "filing/gmail_filing_mode_manager.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

// Writes down everything in the order in which it happens.
class Surroundings final : public FilingSurroundings {
 public:
  void hideQuillbox(std::string_view reason) override { events.push_back("hide " + std::string(reason)); }
  void trainOnSelection(const Mailbox& destination) override { events.push_back("train " + destination.id); }
  void appendToFilingLog(std::string entry) override { events.push_back("log " + entry); }
  bool addToRecents(const Mailbox& destination) override {
    events.push_back("recent " + destination.id);
    return recentsChange;
  }
  void clearQuery() override { events.push_back("clear"); }

  std::vector<std::string> events;
  bool recentsChange = true;
};

class Filing : public testing::Test, protected ScriptSurroundings {
 protected:
  Filing() {
    installed_.installed = true;
    engine_.setRule([this](const auto&) -> std::optional<ScriptResult> {
      surroundings_.events.push_back("script");
      return std::nullopt;
    });
    errorsSeen_ = notifications_.observe<AppleScriptError>(
        notification::didReceiveError, [this](const AppleScriptError& error) { errors_.push_back(error); });
    reloadsSeen_ = notifications_.observe<std::string>(
        notification::shouldForceReload, [this](const std::string& reason) { reloads_.push_back(reason); });
  }

  std::optional<TransferOutcome> transfer(TransferRequest request) {
    std::optional<TransferOutcome> outcome;
    const auto started =
        pipeline_.transferSelectedMessages(request, [&](const TransferOutcome& ended) { outcome = ended; });
    EXPECT_TRUE(started.has_value());
    EXPECT_FALSE(outcome.has_value()) << "completed inside the call";
    dispatch_.runUntilIdle();
    return outcome;
  }

  const Mailbox target_ = Mailbox::make("2024", "Projects/2024", "Work");
  Surroundings surroundings_;
  FilingPipeline pipeline_{{settings_, helper_, dispatch_, notifications_, localizer_, log_, surroundings_}};
  std::vector<AppleScriptError> errors_;
  std::vector<std::string> reloads_;
  Subscription errorsSeen_;
  Subscription reloadsSeen_;
};

using Events = std::vector<std::string>;

TEST_F(Filing, PreconditionsStopItBeforeAnythingHappens) {
  workspace_.setRunning(mailBundleIdentifier, false);
  EXPECT_EQ(pipeline_.transferSelectedMessages({}).error().kind(), QuillboxError::Case::mailNotRunning);
  workspace_.setRunning(mailBundleIdentifier, true);
  EXPECT_EQ(pipeline_.transferSelectedMessages({}).error().kind(), QuillboxError::Case::mailboxNotFound);
  dispatch_.runUntilIdle();
  EXPECT_EQ(surroundings_.events, Events{});
}

TEST_F(Filing, StepsInOrderWithEverythingSwitchedOn) {
  for (auto* setting :
       {&settings_.useSmartFilingSuggestions, &settings_.useLogging, &settings_.rememberRecentMailboxes}) {
    ASSERT_TRUE(setting->set(true));
  }
  ASSERT_TRUE(settings_.keepOpenAfterFiling.set(false));
  ASSERT_TRUE(settings_.searchOnActivationMode.set(SearchOnActivationAppEnum::clearOnAction));
  engine_.answer(Descriptor::int32(3));
  const auto outcome = transfer({target_});
  EXPECT_EQ(outcome->kind, TransferOutcome::Kind::filed);
  EXPECT_EQ(outcome->count, 3);
  EXPECT_EQ(surroundings_.events,
            (Events{"hide transferSelectedMessages", "train Work/Projects/2024", "script",
                    "log LN_log_move_plural 3 Work/Projects/2024", "recent Work/Projects/2024", "clear"}));
  EXPECT_EQ(settings_.filedCount.get(), 3);
  EXPECT_EQ(reloads_, Events{"addToRecents"});
  EXPECT_TRUE(log_.contains("useFilingScript: false"));
  EXPECT_TRUE(log_.contains("AppleScript Output: 3"));
  EXPECT_TRUE(log_.contains("Filed messages count: 3"));
}

TEST_F(Filing, WhatIsSwitchedOffDoesNotHappen) {
  surroundings_.recentsChange = false;
  engine_.setDefaultAnswer(Descriptor::int32(1));
  transfer({target_});
  EXPECT_EQ(surroundings_.events, Events{"script"});
  // The caller's wish keeps the window open against the setting.
  surroundings_.events.clear();
  ASSERT_TRUE(settings_.keepOpenAfterFiling.set(false));
  ASSERT_TRUE(settings_.rememberRecentMailboxes.set(true));
  transfer({target_, FilingAction::move, KeepOpen::yes});
  EXPECT_EQ(surroundings_.events, (Events{"script", "recent Work/Projects/2024"}));
  EXPECT_EQ(reloads_, Events{}) << "the recents did not change";
}

TEST_F(Filing, OnlyIntegersOfAtLeastOneCount) {
  ASSERT_TRUE(settings_.useLogging.set(true));
  ASSERT_TRUE(settings_.rememberRecentMailboxes.set(true));
  const struct {
    Descriptor result;
    FilingAction action;
    std::int32_t count;
    const char* logged;
  } rows[] = {
      {Descriptor::int32(1), FilingAction::move, 1, "log LN_log_move_singular 1 Work/Projects/2024"},
      {Descriptor::int32(1), FilingAction::copy, 1, "log LN_log_copy_singular 1 Work/Projects/2024"},
      {Descriptor::int32(1), FilingAction::archive, 1, "log LN_log_move_singular 1 Work/Projects/2024"},
      {Descriptor::integer(fourCC("comp"), 3), FilingAction::copy, 3,
       "log LN_log_copy_plural 3 Work/Projects/2024"},
      {Descriptor::integer(fourCC("magn"), 2), FilingAction::move, 2,
       "log LN_log_move_plural 2 Work/Projects/2024"},
      {Descriptor::integer(fourCC("ucom"), 2), FilingAction::move, 2,
       "log LN_log_move_plural 2 Work/Projects/2024"},
      {Descriptor::integer(fourCC("comp"), std::int64_t{1} << 40), FilingAction::move, 0, nullptr},
      {Descriptor::int32(0), FilingAction::move, 0, nullptr},
      {Descriptor::int32(-4), FilingAction::move, 0, nullptr},
      {Descriptor::real(3.0), FilingAction::move, 0, nullptr},
      {Descriptor::text("3"), FilingAction::move, 0, nullptr},
      {Descriptor::boolean(true), FilingAction::move, 0, nullptr},
      {Descriptor::list({Descriptor::int32(3)}), FilingAction::move, 0, nullptr},
      {Descriptor(), FilingAction::move, 0, nullptr},
  };
  std::int64_t total = 0;
  for (const auto& row : rows) {
    surroundings_.events.clear();
    engine_.answer(row.result);
    EXPECT_EQ(transfer({target_, row.action})->count, row.count) << row.result.description();
    total += row.count;
    EXPECT_EQ(settings_.filedCount.get(), total) << row.result.description();
    Events expected{"script"};
    if (row.logged != nullptr) expected.emplace_back(row.logged);
    expected.emplace_back("recent Work/Projects/2024");
    EXPECT_EQ(surroundings_.events, expected) << row.result.description();
  }
}

TEST_F(Filing, AFailureLeavesNoTraceButTheAlert) {
  for (auto* setting : {&settings_.useLogging, &settings_.rememberRecentMailboxes})
    ASSERT_TRUE(setting->set(true));
  ASSERT_TRUE(settings_.searchOnActivationMode.set(SearchOnActivationAppEnum::clearOnAction));
  engine_.answer(std::unexpected(ScriptError{"The filing script is needed", -1404, {}, {}, false}));
  const auto outcome = transfer({target_});
  EXPECT_EQ(outcome->kind, TransferOutcome::Kind::failed);
  EXPECT_EQ(outcome->error->number, -1404);
  EXPECT_EQ(errors_, (std::vector{AppleScriptError::executionError("The filing script is needed", -1404)}));
  EXPECT_EQ(surroundings_.events, Events{"script"});
  EXPECT_EQ(settings_.filedCount.get(), 0);
  EXPECT_FALSE(pipeline_.isTransferring());
}

TEST_F(Filing, OneTransferAtATime) {
  ASSERT_TRUE(settings_.keepOpenAfterFiling.set(false));
  engine_.answer(Descriptor::int32(1));
  std::vector<TransferOutcome::Kind> ended;
  const auto record = [&](const TransferOutcome& outcome) { ended.push_back(outcome.kind); };
  ASSERT_TRUE(pipeline_.transferSelectedMessages({target_}, record));
  EXPECT_TRUE(pipeline_.isTransferring());
  ASSERT_TRUE(pipeline_.transferSelectedMessages({target_}, record));
  dispatch_.runUntilIdle();
  EXPECT_EQ(engine_.calls().size(), 1U);
  EXPECT_EQ(ended.size(), 2U);
  // The window hides for both: that comes before the guard.
  EXPECT_EQ(std::ranges::count(surroundings_.events, "hide transferSelectedMessages"), 2);
}

TEST_F(Filing, InstalledScriptGetsPathAccountMoveAndKeepOpen) {
  ASSERT_TRUE(settings_.useFilingScript.set(true));
  const struct {
    FilingAction action;
    KeepOpen keepOpen;
    bool keepOpenSetting;
    bool move;
    bool open;
  } rows[] = {
      {FilingAction::move, KeepOpen::bySetting, true, true, true},
      {FilingAction::copy, KeepOpen::bySetting, false, false, false},
      {FilingAction::archive, KeepOpen::yes, false, true, true},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(settings_.keepOpenAfterFiling.set(row.keepOpenSetting));
    std::optional<TransferOutcome> outcome;
    ASSERT_TRUE(pipeline_.transferSelectedMessages({target_, row.action, row.keepOpen},
                                                   [&](const auto& ended) { outcome = ended; }));
    EXPECT_EQ(pipeline_.runningAction(), row.action);
    dispatch_.runUntilIdle();
    EXPECT_EQ(
        installed_.events.back(),
        subroutineEvent("processMessages",
                        {Descriptor::list({Descriptor::text("Projects/2024"), Descriptor::text("Work"),
                                           Descriptor::boolean(row.move), Descriptor::boolean(row.open)})}));
    installed_.completions.back()(Descriptor::int32(2));
    dispatch_.runUntilIdle();
    EXPECT_EQ(outcome->count, 2);
  }
  EXPECT_TRUE(engine_.calls().empty());

  ASSERT_TRUE(pipeline_.transferSelectedMessages({target_}));
  dispatch_.runUntilIdle();
  installed_.completions.back()(std::unexpected(InstalledScriptFailure{"Script: All Mail(-1728)"}));
  dispatch_.runUntilIdle();
  EXPECT_EQ(errors_.back(),
            AppleScriptError::executionError("LN_gmail_archive_mailbox_1728_error All Mail", -1728));

  installed_.installed = false;
  const auto sent = installed_.events.size();
  EXPECT_EQ(transfer({target_})->error,
            AppleScriptError::executionError("LN_filing_script_not_found", -1404));
  EXPECT_EQ(errors_.back().number, -1404);
  EXPECT_EQ(installed_.events.size(), sent);
}

TEST_F(Filing, CountSurvivesAnotherProcessFilingMeanwhile) {
  MemoryUserDefaults other(defaults_.store());
  engine_.setRule([&](const auto&) -> std::optional<ScriptResult> {
    EXPECT_TRUE(other.set("filedCount", std::int64_t{10}));
    return Descriptor::int32(2);
  });
  transfer({target_});
  EXPECT_EQ(settings_.filedCount.get(), 12);
}

TEST_F(Filing, OverflowOfTheCountIsFatal) {
  ASSERT_TRUE(settings_.filedCount.set(std::numeric_limits<std::int64_t>::max()));
  EXPECT_DEATH(pipeline_.filedCount(Descriptor::int32(1)), "filed count");
}

class GmailModes : public Filing {
 protected:
  AccountManager accounts_{helper_, dispatch_, log_};
  GmailFilingModeManager manager_{settings_, accounts_, log_};
};

TEST_F(GmailModes, SynchronisingAddsEveryWebMailAccountOnce) {
  const auto account = [](const char* name, const char* server) {
    return Descriptor::list({Descriptor::text(name), Descriptor::text(name), Descriptor::text(server)});
  };
  engine_.setDefaultAnswer(Descriptor::list(
      {account("Web", "imap.GMAIL.com"), account("Work", "mail.example"), account("Odd", "xgmailx")}));
  ASSERT_TRUE(manager_.setMode("Gone", GmailFilingModeEnum::direct));
  for (int round = 0; round < 2; ++round) {
    bool done = false;
    manager_.synchronizeWithAccounts([&](const auto& result) { done = result.has_value(); });
    dispatch_.runUntilIdle();
    EXPECT_TRUE(done);
    EXPECT_EQ(settings_.gmailFilingModes.get(),
              (std::vector<GmailFilingMode>{{"Gone", "Gone", GmailFilingModeEnum::direct},
                                            {"Web", "Web", GmailFilingModeEnum::useDefault},
                                            {"Odd", "Odd", GmailFilingModeEnum::useDefault}}));
  }
  EXPECT_TRUE(log_.contains("mode Web adding"));
  EXPECT_TRUE(log_.contains("mode Web exists"));

  engine_.setDefaultAnswer(std::unexpected(ScriptError{"no", -600, {}, {}, false}));
  std::optional<QuillboxError> error;
  manager_.synchronizeWithAccounts([&](const auto& result) { error = result.error(); });
  dispatch_.runUntilIdle();
  EXPECT_EQ(error->scriptError()->number, -3404);
}

TEST_F(GmailModes, AnswersByTheAccountsModeBeforeTheGlobalOne) {
  ASSERT_TRUE(manager_.setMode("archived", GmailFilingModeEnum::archive));
  ASSERT_TRUE(manager_.setMode("direct", GmailFilingModeEnum::direct));
  ASSERT_TRUE(manager_.setMode("default", GmailFilingModeEnum::useDefault));
  for (const bool global : {true, false}) {
    ASSERT_TRUE(settings_.archiveGmailBeforeFiling.set(global));
    EXPECT_EQ(manager_.answerForAccount("archived"), 1);
    EXPECT_EQ(manager_.answerForAccount("direct"), 2);
    EXPECT_EQ(manager_.answerForAccount("default"), global ? 1 : 2);
    EXPECT_EQ(manager_.answerForAccount("Direct"), global ? 1 : 2) << "names are compared exactly";
  }
}

}  // namespace
}  // namespace quillbox
