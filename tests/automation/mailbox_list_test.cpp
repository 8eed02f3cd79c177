// Delivered mailbox lists, the retrieval that asks for them, and the count check.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "automation/mailbox_payload.h"
#include "automation/mailbox_retrieval.h"
#include "base/text.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

Descriptor referenceRecord(std::string account, std::string references) {
  return Descriptor::record({{"accountName", Descriptor::text(std::move(account))},
                             {"mailboxText", Descriptor::text(std::move(references))}});
}

TEST(MailboxText, ReferencesBecomeMailboxes) {
  const struct {
    const char* text;
    std::vector<std::pair<std::string, std::string>> namesAndPaths;
  } rows[] = {
      {R"(mailbox "Inbox" of account id "A", mailbox "Archive/2024" of account id "A")",
       {{"Inbox", "Inbox"}, {"2024", "Archive/2024"}}},
      {R"(Can’t make {mailbox "L" of application "Mail"} into type text.)", {{"L", "L"}}},
      {R"(mailbox "a \"b\" c/d\"" of account id "A")", {{"d\"", "a \"b\" c/d\""}}},
      {R"(mailbox "A" of mailbox "B" of account id "A")", {{"B", "B"}}},
      {R"(mailbox "/" of application "Mail")", {{"/", "/"}}},
      {R"(mailbox "x\/" of application "Mail")", {{"x\\", "x\\/"}}},
      {"mailbox\n\"A\"\tof  application \"Mail\"", {{"A", "A"}}},
      {R"(mailbox "A" of applications)", {}},
      {R"(mailbox "" of account id "A")", {}},
      {R"(Mailbox "A" of account id "A")", {}},
      {"", {}},
  };
  for (const auto& row : rows) {
    std::vector<Mailbox> expected;
    for (const auto& [name, path] : row.namesAndPaths) expected.push_back(Mailbox::make(name, path, "Work"));
    EXPECT_EQ(mailboxesFromText(row.text, "Work"), expected) << row.text;
  }
}

// Whatever the paths hold, except a curly quote (which stands for a plain one) and a backslash (which the
// script takes care of), they come back in order.
TEST(MailboxText, AnyPathsComeBack) {
  rc::check([](const std::vector<std::string>& raw) {
    std::vector<std::string> paths;
    std::string printed = "{";
    for (const auto& bytes : raw) {
      std::string path = text::replaceAll(text::toValidUtf8(bytes), "\\", "/");
      path = text::replaceAll(path, "”", "\"");
      if (path.empty()) continue;
      printed += "mailbox \"" + text::replaceAll(path, "\"", "\\\"") + "\" of account id \"X\", ";
      paths.push_back(path);
    }
    std::vector<std::string> read;
    for (const auto& mailbox : mailboxesFromText(printed + "}", "A")) read.push_back(mailbox.path);
    RC_ASSERT(read == paths);
  });
}

TEST(MailboxPayload, IsAllOrNothing) {
  const auto good = referenceRecord("Work", R"(mailbox "A" of account id "1")");
  const auto entry = [](const char* name, const char* path, const char* account) {
    return Descriptor::record({{"mailboxName", Descriptor::text(name)},
                               {"mailboxPath", Descriptor::text(path)},
                               {"mailboxAccount", Descriptor::text(account)}});
  };
  const Descriptor badV2[] = {
      Descriptor(),
      Descriptor::text("x"),
      good,  // a record, not a list of them
      Descriptor::list({good, Descriptor::text("x")}),
      Descriptor::list({good, referenceRecord("", R"(mailbox "A" of account id "1")")}),
      Descriptor::list({good, referenceRecord("Home", "no reference at all")}),
      Descriptor::list({good, referenceRecord("Home", "")}),
      Descriptor::list({Descriptor::record({{"accountName", Descriptor::text("Work")}})}),
      Descriptor::list(
          {Descriptor::record({{"accountName", Descriptor::int32(3)},
                               {"mailboxText", Descriptor::text("mailbox \"A\" of application")}})}),
  };
  for (const auto& payload : badV2) EXPECT_FALSE(mailboxesFromListV2(payload)) << payload.description();
  EXPECT_EQ(mailboxesFromListV2(Descriptor::list({good})),
            std::vector<Mailbox>{Mailbox::make("A", "A", "Work")});
  EXPECT_EQ(mailboxesFromListV2(Descriptor::list({})), std::vector<Mailbox>{});

  EXPECT_EQ(mailboxesFromList(Descriptor::list({entry("B", "A/B", "Work"), entry("C", "C", "Home")})),
            (std::vector<Mailbox>{Mailbox::make("B", "A/B", "Work"), Mailbox::make("C", "C", "Home")}));
  for (const auto& bad : {entry("", "A", "W"), entry("A", "", "W"), entry("A", "A", "")}) {
    EXPECT_FALSE(mailboxesFromList(Descriptor::list({entry("B", "B", "Work"), bad})));
  }
}

class Retrieval : public testing::Test, protected ScriptSurroundings {
 protected:
  Retrieval() {
    resources_.add("Scripts/getMailboxesAsListV2.scpt", "/r/V2");
    resources_.add("Scripts/getMailboxesAsList.scpt", "/r/V1");
    subscription_ = notifications_.observe<AppleScriptError>(
        notification::didReceiveError, [this](const AppleScriptError& error) { errors_.push_back(error); });
  }

  MailboxRetrieval retrieval_{{helper_, resources_, workspace_, notifications_, status_, log_}};
  std::vector<AppleScriptError> errors_;
  Subscription subscription_;
};

TEST_F(Retrieval, RunsTheScriptOfTheVariantAsAWhole) {
  for (const auto& [variant, file, label] :
       {std::tuple{RetrievalVariant::current, "/r/V2", "getMailboxesUsingAppleScriptV2"},
        std::tuple{RetrievalVariant::legacy, "/r/V1", "getMailboxesAsList"}}) {
    engine_.forget();
    int done = 0;
    std::vector<std::string> labels;
    auto watch =
        status_.appleScriptStatus().observe([&](const std::string& text) { labels.push_back(text); });
    ASSERT_EQ(retrieval_.start(variant, [&](const auto&) { ++done; }), RetrievalStart::started);
    dispatch_.runUntilIdle();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(labels, (std::vector<std::string>{label, ""}));
    ASSERT_EQ(engine_.calls().size(), 1U);
    EXPECT_EQ(engine_.calls()[0].text, file);
    EXPECT_FALSE(engine_.calls()[0].isEvent());
  }
}

TEST_F(Retrieval, StartsOnlyWhenItCan) {
  // Progress blocks the current variant except at 0 and 100, which a fraction never reaches.
  const struct {
    std::optional<double> progress;
    RetrievalVariant variant;
    RetrievalStart start;
  } rows[] = {
      {std::nullopt, RetrievalVariant::current, RetrievalStart::started},
      {0.0, RetrievalVariant::current, RetrievalStart::started},
      {0.5, RetrievalVariant::current, RetrievalStart::alreadyLoading},
      {1.0, RetrievalVariant::current, RetrievalStart::alreadyLoading},
      {100.0, RetrievalVariant::current, RetrievalStart::started},
      {0.5, RetrievalVariant::legacy, RetrievalStart::started},
  };
  for (const auto& row : rows) {
    status_.mailboxesLoadingPercentage().set(row.progress);
    EXPECT_EQ(retrieval_.start(row.variant), row.start) << row.progress.value_or(-1);
    dispatch_.runUntilIdle();
  }
  status_.resetLoading();

  FakeResourceBundle nothing;
  MailboxRetrieval bare({helper_, nothing, workspace_, notifications_, status_, log_});
  EXPECT_EQ(bare.start(RetrievalVariant::current).error(),
            QuillboxError::scriptNotFound("getMailboxesAsListV2"));
  EXPECT_EQ(bare.start(RetrievalVariant::legacy).error(),
            QuillboxError::scriptNotFound("getMailboxesAsList"));
  workspace_.setRunning(mailBundleIdentifier, false);
  EXPECT_EQ(retrieval_.start(RetrievalVariant::current).error().kind(), QuillboxError::Case::mailNotRunning);
  EXPECT_FALSE(retrieval_.checkCount([] { return 0U; }, [](CountDecision) {}));
}

TEST_F(Retrieval, AFailedScriptIsReportedAndEndsTheLoad) {
  engine_.setRule([this](const auto&) -> std::optional<ScriptResult> {
    dispatch_.main([this] { status_.mailboxesLoadingPercentage().set(0.5); });
    return std::unexpected(ScriptError{"Incomplete", -1700, {}, {}, false});
  });
  int resets = 0;
  auto watch = status_.observeReset([&] { ++resets; });
  ASSERT_TRUE(retrieval_.start(RetrievalVariant::current));
  dispatch_.runUntilIdle();
  EXPECT_EQ(errors_, (std::vector{AppleScriptError::executionError("Incomplete", -1700)}));
  EXPECT_EQ(status_.mailboxesLoadingPercentage().get(), std::nullopt);
  EXPECT_EQ(resets, 1);
}

TEST(CountDecision, FollowsTheStepsInOrder) {
  const struct {
    CountFacts facts;
    CountDecision decision;
    bool compared;  // logged both numbers
  } rows[] = {
      {{-1, 5, true, false}, CountDecision::ignoreSentinel, false},
      {{-1, 5, false, true}, CountDecision::ignoreSentinel, false},
      {{6, 5, false, false}, CountDecision::ignoreInactive, false},
      {{0, 5, true, false}, CountDecision::ignoreZero, false},
      {{0, 0, true, false}, CountDecision::same, true},
      {{5, 5, true, true}, CountDecision::same, true},
      {{6, 5, true, true}, CountDecision::ignoreWhileLoading, true},
      {{6, 5, true, false}, CountDecision::reload, true},
      {{4, 5, true, false}, CountDecision::reload, true},
  };
  for (const auto& row : rows) {
    RecordingLog log;
    EXPECT_EQ(decideOnCount(row.facts, log), row.decision) << row.facts.counted;
    EXPECT_EQ(log.contains("AllMailboxes Count: "), row.compared) << row.facts.counted;
  }
}

TEST_F(Retrieval, CountsAndComparesWithWhatIsHeldThen) {
  std::size_t held = 6;
  std::vector<CountDecision> decisions;
  const auto check = [&](ScriptResult answer) {
    engine_.answer(std::move(answer));
    ASSERT_TRUE(
        retrieval_.checkCount([&] { return held; }, [&](CountDecision made) { decisions.push_back(made); }));
    held = 5;
    dispatch_.runUntilIdle();
  };
  check(Descriptor::int32(6));
  check(Descriptor::int32(5));
  check(Descriptor::text("no number"));
  check(std::unexpected(ScriptError{"no", -600, {}, {}, false}));
  EXPECT_EQ(decisions,
            (std::vector{CountDecision::reload, CountDecision::same, CountDecision::ignoreSentinel}));
  EXPECT_EQ(engine_.calls().size(), 4U);
  EXPECT_EQ(errors_.size(), 1U);
}

}  // namespace
}  // namespace quillbox
