// The runner's three ways to run a script, and what becomes of their failures.
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "automation/account_manager.h"
#include "automation/applescript_helper.h"
#include "automation/failure_text.h"
#include "automation/script_texts.h"
#include "automation/selected_messages.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

class Runner : public testing::Test, protected ScriptSurroundings {
 protected:
  Runner() { installed_.installed = true; }

  // Runs everything and gives the one answer; counts how often and where the completion came.
  AppleScriptResult finish() {
    EXPECT_EQ(answers_, 0) << "a completion inside the call";
    dispatch_.runUntilIdle();
    EXPECT_EQ(answers_, 1);
    return last_.value_or(AppleScriptResult{});
  }
  AppleScriptHelper::Completion record() {
    answers_ = 0;
    return [this](AppleScriptResult result) {
      EXPECT_TRUE(dispatch_.isMain());
      ++answers_;
      last_ = std::move(result);
    };
  }

  int answers_ = 0;
  std::optional<AppleScriptResult> last_;
};

TEST_F(Runner, TextRunsOffTheMainQueueUnderItsLabel) {
  engine_.setRule([this](const auto&) -> std::optional<ScriptResult> {
    EXPECT_FALSE(dispatch_.isMain());
    return Descriptor::int32(3);
  });
  helper_.runScriptText("return 3", "transferSelectedMessages", record());
  EXPECT_EQ(status_.appleScriptStatus().get(), "transferSelectedMessages");
  EXPECT_EQ(finish(), AppleScriptResult(Descriptor::int32(3)));
  EXPECT_EQ(status_.appleScriptStatus().get(), "");
}

TEST_F(Runner, FailuresTakeTheEnginesWordsOrTheDefaultsOfTheirKind) {
  enum class Way { text, compile, load, missing, handler };
  const ScriptError full{"Can’t get mailbox.", -1728, {}, {}, false};
  const struct {
    Way way;
    ScriptError error;
    const char* message;
    std::int64_t number;
  } rows[] = {
      {Way::text, full, "Can’t get mailbox.", -1728},
      {Way::text, {}, "Unknown AppleScript error.", -1000},
      {Way::compile, {}, "Unknown AppleScript error.", -1000},
      {Way::load, full, "Can’t get mailbox.", -1728},
      {Way::load, {}, "Failed to load AppleScript.", -1001},
      {Way::missing, {}, "Failed to load AppleScript.", -1001},
      {Way::handler, full, "Can’t get mailbox.", -1728},
      {Way::handler, {}, "Unknown AppleScript error.", -1002},
  };
  for (const auto& row : rows) {
    RecordingScriptEngine engine;
    AppleScriptHelper helper(
        {engine, installed_, resources_, workspace_, dispatch_, localizer_, log_, status_});
    resources_.add("Scripts/known.scpt", "/r/known");
    if (row.way == Way::compile || row.way == Way::load) {
      engine.failCompiling(row.way == Way::load ? "/r/known" : "text", row.error);
    } else {
      engine.answer(std::unexpected(row.error));
    }
    if (row.way == Way::text || row.way == Way::compile) {
      helper.runScriptText("text", "", record());
    } else {
      helper.runAppleScriptHandlerAsync(row.way == Way::missing ? "Scripts/unknown" : "Scripts/known", "go",
                                        {}, record());
    }
    const auto result = finish();
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), AppleScriptError::executionError(row.message, row.number));
    EXPECT_EQ(result.error().phase == ScriptPhase::run, row.way == Way::text || row.way == Way::handler);
  }
}

TEST_F(Runner, AnExceptionOfAnEngineIsTheFailureOfThatRun) {
  engine_.setRule([](const auto&) -> std::optional<ScriptResult> { throw std::runtime_error("gone"); });
  helper_.runScriptText("x", "label", record());
  EXPECT_EQ(finish().error(), AppleScriptError::executionError("gone", -1000));
  EXPECT_EQ(status_.appleScriptStatus().get(), "");
}

TEST_F(Runner, ResourceHandlersGetTheirTextsAsOneList) {
  resources_.add("Scripts/known.scpt", "/r/known");
  for (const auto& parameters : {std::vector<std::string>{}, std::vector<std::string>{"a", "b"}}) {
    engine_.forget();
    helper_.runAppleScriptHandlerAsync("Scripts/known", "go", parameters, record());
    finish();
    ASSERT_EQ(engine_.calls().size(), 1U);
    std::vector<Descriptor> texts;
    for (const auto& parameter : parameters) texts.push_back(Descriptor::text(parameter));
    EXPECT_EQ(engine_.calls()[0].event, subroutineEvent("go", texts));
  }
}

TEST_F(Runner, InstalledScriptAnswersOnTheMainQueue) {
  helper_.runFilingScriptHandler("processMessages", {Descriptor::list({Descriptor::text("A")})}, record());
  EXPECT_EQ(installed_.files.back(), "Quillbox Filing.scpt");
  EXPECT_EQ(installed_.events.back(),
            subroutineEvent("processMessages", {Descriptor::list({Descriptor::text("A")})}));
  dispatch_.background(QualityOfService::utility, [this] {
    installed_.completions.back()(
        std::unexpected(InstalledScriptFailure{"It failed: Script: no such box (-2404)"}));
  });
  EXPECT_EQ(finish().error(), AppleScriptError::executionError("no such box ", -2404));
}

TEST_F(Runner, VersionIsWhatTheScriptAnswersLast) {
  const struct {
    InstalledScriptResult answer;
    std::optional<std::int32_t> version;
  } rows[] = {
      {Descriptor::int32(7), 7},    {std::unexpected(InstalledScriptFailure{"no file"}), std::nullopt},
      {Descriptor::text("8"), 8},   {Descriptor::text("eight"), std::nullopt},
      {Descriptor(), std::nullopt},
  };
  for (const auto& row : rows) {
    int done = 0;
    helper_.readFilingScriptVersion([&] { ++done; });
    installed_.completions.back()(row.answer);
    dispatch_.runUntilIdle();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(helper_.filingScriptVersion().get(), row.version);
  }
  helper_.filingScriptVersion().set(7);
  helper_.logFilingScriptVersion();
  EXPECT_TRUE(log_.contains("AppleScriptHelper: Script version: 7 vs. current version: 8"));
}

TEST(FailureText, IsTakenApart) {
  using Texts = std::map<std::string, std::string, std::less<>>;
  const FakeLocalizer localizer(
      Texts{{"LN_gmail_archive_mailbox_1728_error %@", "The archive mailbox was not found: %@"}});
  const struct {
    const char* text;
    const char* message;
    std::int64_t number;
  } rows[] = {
      {"It failed: x: no number", "It failed: x: no number", -2000},
      {"Script: gone (-2404)", "gone ", -2404},
      {"Script:gone(12)", "gone", 12},
      {"a: b: c (-1728)", "The archive mailbox was not found: c ", -1728},
      {"a: b (-)", "a: b (-)", -2000},
      {"a: b (99999999999999999999)", "b ", -2000},
      {"a: b (-1728) and more", "a: b (-1728) and more", -2000},
      {"no colon (-5)", "no colon (-5)", -2000},
      {"a: b (٣)", "b ", -2000},  // digits that are no decimal number to us
      {"", "", -2000},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(parseFailureText(row.text, localizer),
              AppleScriptError::executionError(row.message, row.number))
        << row.text;
  }
}

TEST(QuillboxError, IdentifiersTellErrorsApart) {
  using enum QuillboxError::Case;
  EXPECT_EQ(QuillboxError::scriptNotFound("x").identifier(), "scriptNotFound-x");
  EXPECT_EQ(QuillboxError::encodingError("x").identifier(), "encodingError-x");
  EXPECT_EQ(QuillboxError::other("").identifier(), "other-");
  EXPECT_EQ(QuillboxError::appleScriptError({"m", -5}).identifier(),
            "appleScriptError-executionError(message: \"m\", number: -5)");
  EXPECT_NE(QuillboxError::appleScriptError({"m", -5}).identifier(),
            QuillboxError::appleScriptError({"m", -6}).identifier());
  for (const auto& [kind, name] : {std::pair{none, "none"},
                                   {quillboxNotRunning, "quillboxNotRunning"},
                                   {mailNotRunning, "mailNotRunning"},
                                   {mailboxNotFound, "mailboxNotFound"},
                                   {noMessagesSelected, "noMessagesSelected"},
                                   {filingScriptNotEnabled, "filingScriptNotEnabled"},
                                   {sandbox, "sandbox"}}) {
    EXPECT_EQ(QuillboxError::of(kind).identifier(), name);
  }
}

Descriptor texts(const std::vector<std::string>& all) {
  std::vector<Descriptor> items;
  for (const auto& each : all) items.push_back(Descriptor::text(each));
  return Descriptor::list(std::move(items));
}

class Accounts : public Runner {
 protected:
  AccountManager accounts_{helper_, dispatch_, log_};
};

TEST_F(Accounts, EndWithTheLocalMailboxesUnlessTheAnswerIsEmpty) {
  engine_.answer(Descriptor::list({texts({"1", "Work", "mail.example"}), Descriptor::text("unreadable"),
                                   Descriptor::list({Descriptor::text("2"), Descriptor::missingValue()})}));
  std::vector<Account> seen;
  accounts_.refresh([&](const auto& result) { seen = result.value(); });
  dispatch_.runUntilIdle();
  EXPECT_EQ(seen,
            (std::vector<Account>{
                {"1", "Work", "mail.example"}, {"2", "", ""}, {"On My Mac", "On My Mac", "On My Mac"}}));
  EXPECT_EQ(accounts_.accounts().get(), seen);
  for (const auto& reply : {Descriptor::list({}), Descriptor(), Descriptor::text("x")}) {
    EXPECT_TRUE(accountsFromReply(reply).empty());
  }
}

TEST_F(Accounts, FailuresOfTheThreeQueries) {
  struct Seen {
    std::string accounts = "none";
    std::string names = "none";
    std::string gmail = "none";
  };
  const auto ask = [this] {
    Seen seen;
    const auto describe = [](const auto& result) {
      return result ? std::string("ok") : result.error().identifier();
    };
    accounts_.getAccounts([&](const auto& r) { seen.accounts = describe(r); });
    accounts_.getAccountNames([&](const auto& r) { seen.names = describe(r); });
    accounts_.anyGmailAccounts(
        [&](const auto& r) { seen.gmail = r ? (*r ? "yes" : "no") : r.error().identifier(); });
    EXPECT_EQ(seen.accounts + seen.names + seen.gmail, "nonenonenone");
    dispatch_.runUntilIdle();
    return seen;
  };
  engine_.setDefaultAnswer(std::unexpected(ScriptError{"boom", -10000, {}, {}, false}));
  auto seen = ask();
  EXPECT_NE(seen.accounts.find("\"Could not get accounts\", number: -3404"), std::string::npos);
  EXPECT_NE(seen.names.find("\"Could not get names of accounts\", number: -3404"), std::string::npos);
  EXPECT_EQ(seen.gmail, "no");
  EXPECT_TRUE(log_.contains("boom"));

  engine_.failCompiling("accounts", {"syntax", -2741, 1, 1, true});
  seen = ask();
  EXPECT_EQ(seen.accounts, "ok");
  EXPECT_EQ(seen.gmail, "no");

  engine_.forget();
  workspace_.setRunning(mailBundleIdentifier, false);
  seen = ask();
  EXPECT_EQ(seen.accounts, "mailNotRunning");
  EXPECT_EQ(seen.names, "mailNotRunning");
  EXPECT_EQ(seen.gmail, "mailNotRunning");
  EXPECT_TRUE(engine_.calls().empty());
}

TEST_F(Runner, SelectedMessagesReadMissingValuesAsAbsent) {
  engine_.answer(Descriptor::list(
      {Descriptor::list({Descriptor::text("<1@x>"), Descriptor::text("Ann"), Descriptor::text("Hi"),
                         Descriptor::text("body"), Descriptor::missingValue()}),
       Descriptor::int32(5)}));
  std::vector<MailMessage> seen;
  getSelectedMessages(helper_, dispatch_, log_, script_texts::Include::yes, script_texts::Include::no,
                      [&](const auto& result) { seen = result.value(); });
  dispatch_.runUntilIdle();
  EXPECT_EQ(seen, (std::vector<MailMessage>{{"<1@x>", "Ann", "Hi", "body", std::nullopt}}));

  const struct {
    bool atCompileTime;
    const char* message;
  } rows[] = {{true, "Could not compile selected messages script"},
              {false, "Could not get selected messages"}};
  for (const auto& row : rows) {
    RecordingScriptEngine failing;
    if (row.atCompileTime) failing.failCompiling("messagesList", {"bad", -2741, 1, 1, true});
    failing.setDefaultAnswer(std::unexpected(ScriptError{"worse", -1728, {}, {}, false}));
    AppleScriptHelper helper(
        {failing, installed_, resources_, workspace_, dispatch_, localizer_, log_, status_});
    std::string message;
    getSelectedMessages(helper, dispatch_, log_, script_texts::Include::no, script_texts::Include::no,
                        [&](const auto& result) { message = result.error().scriptError()->message; });
    dispatch_.runUntilIdle();
    EXPECT_EQ(message, row.message);
  }
}

}  // namespace
}  // namespace quillbox
