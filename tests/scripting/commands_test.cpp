// The commands that scripts send to the application, and the properties that they read and set.
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filing/gmail_filing_mode_manager.h"
#include "scripting/application_properties.h"
#include "scripting/script_command.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

class Sounds final : public SoundPlayer {
 public:
  void beep() override { played.emplace_back("beep"); }
  void play(const Path& file) override { played.push_back(file.string()); }
  std::vector<std::string> played;
};

class NoSurroundings final : public FilingSurroundings {
 public:
  void hideQuillbox(std::string_view) override {}
  void trainOnSelection(const Mailbox&) override {}
  void appendToFilingLog(std::string) override {}
  bool addToRecents(const Mailbox&) override { return false; }
  void clearQuery() override {}
};

class Scripting : public testing::Test, protected ScriptSurroundings {
 protected:
  Scripting() {
    installed_.installed = true;
    lists_ = notifications_.observe<MailboxReloadPayload>(
        notification::shouldReloadWithList,
        [this](const MailboxReloadPayload& payload) { payloads_.push_back(payload); });
    resources_.add("Scripts/getMailboxesAsListV2.scpt", "/r/V2");
    resources_.add("Scripts/getMailboxesAsList.scpt", "/r/V1");
  }

  Result<Descriptor> perform(const char* className, ScriptCommand::Arguments arguments = {}) {
    auto command = makeScriptCommand(className, services_);
    EXPECT_NE(command, nullptr) << className;
    command->setEvaluatedArguments(std::move(arguments));
    std::optional<Result<Descriptor>> reply;
    command->performDefaultImplementation([&](Result<Descriptor> result) {
      EXPECT_FALSE(reply.has_value()) << "replied twice";
      reply = std::move(result);
    });
    dispatch_.runUntilIdle();
    EXPECT_TRUE(reply.has_value()) << className;
    return reply.value_or(Descriptor());
  }

  NoSurroundings surroundings_;
  Sounds sounds_;
  FixedRandomSource random_;
  AccountManager accounts_{helper_, dispatch_, log_};
  MailboxRetrieval retrieval_{{helper_, resources_, workspace_, notifications_, status_, log_}};
  FilingPipeline filing_{{settings_, helper_, dispatch_, notifications_, localizer_, log_, surroundings_}};
  std::optional<Mailbox> selected_;
  ScriptingServices services_{
      settings_,  status_, notifications_, helper_,    retrieval_, accounts_, filing_,
      resources_, sounds_, random_,        localizer_, log_,       dispatch_, [this] { return selected_; }};
  std::vector<MailboxReloadPayload> payloads_;
  Subscription lists_;
};

TEST_F(Scripting, DeliveredListsArePostedWholeOrNotAtAll) {
  const auto reference = [](const char* account, const char* text) {
    return Descriptor::record(
        {{"accountName", Descriptor::text(account)}, {"mailboxText", Descriptor::text(text)}});
  };
  const auto entry = Descriptor::record({{"mailboxName", Descriptor::text("B")},
                                         {"mailboxPath", Descriptor::text("A/B")},
                                         {"mailboxAccount", Descriptor::text("Work")}});
  const auto good = reference("Work", "mailbox \"A/B\" of account id \"1\"");
  const struct {
    const char* className;
    ScriptCommand::Arguments arguments;
    bool accepted;
  } rows[] = {
      {"UpdateMailboxesWithListV2", {{"", Descriptor::list({good})}}, true},
      {"UpdateMailboxesWithList", {{"", Descriptor::list({entry})}}, true},
      {"UpdateMailboxesWithListV2", {{"", Descriptor::list({good, reference("Home", "none")})}}, false},
      {"UpdateMailboxesWithListV2", {{"", Descriptor::list({entry})}}, false},
      {"UpdateMailboxesWithList", {{"", Descriptor::list({entry, good})}}, false},
      {"UpdateMailboxesWithList", {}, false},
      {"UpdateMailboxesWithListV2", {{"other", Descriptor::list({good})}}, false},
  };
  for (const auto& row : rows) {
    payloads_.clear();
    status_.mailboxesLoadingPercentage().set(0.5);
    const auto reply = perform(row.className, row.arguments);
    if (row.accepted) {
      EXPECT_EQ(reply, Descriptor::boolean(true));
      ASSERT_EQ(payloads_.size(), 1U);
      const auto& [mailboxes, force, reason] = payloads_[0];
      ASSERT_EQ(mailboxes.size(), 1U);
      EXPECT_EQ(mailboxes[0], Mailbox::make("B", "A/B", "Work"));
      EXPECT_TRUE(force);
      EXPECT_EQ(reason, row.className);
    } else {
      ASSERT_FALSE(reply.has_value());
      EXPECT_EQ(reply.error(), (Error{-1700, "LN_mailbox_reload_incomplete"}));
      EXPECT_TRUE(payloads_.empty());
      EXPECT_EQ(status_.mailboxesLoadingPercentage().get(), std::nullopt) << "the load is over";
    }
  }
}

TEST_F(Scripting, ProgressIsAFraction) {
  const struct {
    Descriptor value;
    bool accepted;
  } rows[] = {{Descriptor::real(0), true},      {Descriptor::real(1), true},
              {Descriptor::real(0.25), true},   {Descriptor::int32(1), true},
              {Descriptor::real(1.5), false},   {Descriptor::real(-0.1), false},
              {Descriptor::text("0.5"), false}, {Descriptor(), false}};
  for (const auto& row : rows) {
    status_.mailboxesLoadingPercentage().set(0.75);
    EXPECT_EQ(perform("UpdateMailboxesLoadedPercentage", {{"", row.value}}),
              Descriptor::boolean(row.accepted))
        << row.value.description();
    EXPECT_EQ(status_.mailboxesLoadingPercentage().get(), row.accepted ? row.value.realValue() : 0.75);
  }
}

TEST_F(Scripting, ReloadStartsTheVariantOfTheSetting) {
  EXPECT_EQ(perform("ReloadMailboxesScriptingCommand"), Descriptor());
  ASSERT_TRUE(settings_.useLegacyMailboxRetrieval.set(true));
  EXPECT_EQ(perform("ReloadMailboxesScriptingCommand"), Descriptor());
  ASSERT_EQ(engine_.calls().size(), 2U);
  EXPECT_EQ(engine_.calls()[0].text, "/r/V2");
  EXPECT_EQ(engine_.calls()[1].text, "/r/V1");
  workspace_.setRunning(mailBundleIdentifier, false);
  EXPECT_EQ(perform("ReloadMailboxesScriptingCommand").error().number, -600);
}

TEST_F(Scripting, FilingSoundsAreBeepFileOrOneOfThirteen) {
  const auto& names = RawTexts<FilingSoundAppEnum>::values;
  for (const auto name : names)
    resources_.add("Sounds/" + std::string(name) + ".aiff", "/s/" + std::string(name));
  const auto play = [this](FilingSoundAppEnum sound) {
    sounds_.played.clear();
    EXPECT_TRUE(settings_.filingSound.set(sound));
    EXPECT_TRUE(perform("PlayFilingSoundScriptCommand"));
    return sounds_.played;
  };
  EXPECT_EQ(play(FilingSoundAppEnum::system), std::vector<std::string>{"beep"});
  EXPECT_EQ(play(FilingSoundAppEnum::milkyYellow), std::vector<std::string>{"/s/milkyYellow"});
  std::set<std::string> chosen;
  for (int i = 0; i < 130; ++i) {
    const auto played = play(FilingSoundAppEnum::random);
    ASSERT_EQ(played.size(), 1U);
    chosen.insert(played[0]);
  }
  EXPECT_EQ(chosen.size(), 13U);
  EXPECT_FALSE(chosen.contains("/s/system") || chosen.contains("/s/random") || chosen.contains("beep"));
}

TEST(FilingSounds, LieAmongTheResources) {
  FixedRandomSource random;
  for (const auto name : RawTexts<FilingSoundAppEnum>::values) {
    const auto resource = filingSoundResource(*fromRawText<FilingSoundAppEnum>(name), random);
    if (!resource) continue;
    std::ifstream file(std::string(QUILLBOX_SOURCE_DIR) + "/Resources/" + *resource + ".aiff",
                       std::ios::binary);
    char head[12] = {};
    file.read(head, sizeof head);
    EXPECT_EQ(std::string(head, 4) + std::string(head + 8, 4), "FORMAIFF") << *resource;
  }
}

TEST_F(Scripting, AMissingSoundIsSilent) {
  ASSERT_TRUE(settings_.filingSound.set(FilingSoundAppEnum::bass));
  EXPECT_TRUE(perform("PlayFilingSoundScriptCommand"));
  EXPECT_TRUE(sounds_.played.empty());
}

TEST_F(Scripting, HandlersOfTheFilingScript) {
  const auto off = Descriptor::boolean(false);
  const struct {
    const char* className;
    AppleEvent event;
  } rows[] = {
      {"SelectMessageDownScriptingCommand", subroutineEvent("selectMessageDown", {})},
      {"SelectMessageUpScriptingCommand", subroutineEvent("selectMessageUp", {})},
      {"ExpandConversationScriptingCommand",
       subroutineEvent("sendKeyCodeToMail", {Descriptor::int32(124), off, off, off, off})},
      {"CollapseConversationScriptingCommand",
       subroutineEvent("sendKeyCodeToMail", {Descriptor::int32(123), off, off, off, off})},
  };
  for (const auto& row : rows) {
    installed_.events.clear();
    installed_.installed = true;
    installed_.answer = Descriptor::int32(1);
    EXPECT_EQ(perform(row.className), Descriptor());
    EXPECT_EQ(installed_.events, std::vector{row.event});
    installed_.answer = std::unexpected(InstalledScriptFailure{"It failed: no window(-1719)"});
    EXPECT_EQ(perform(row.className).error(), (Error{-1719, "no window"}));
    installed_.installed = false;
    EXPECT_EQ(perform(row.className).error().number, -1404);
  }
}

TEST_F(Scripting, GmailModeAsksForAccountsOnceAndObeysAnArchivingTransfer) {
  const auto ask = [this](Descriptor account) {
    return perform("GmailAccountFilingModeScriptingCommand", {{"", std::move(account)}})->int32Value();
  };
  EXPECT_EQ(ask(Descriptor::int32(4)), 0);
  EXPECT_EQ(perform("GmailAccountFilingModeScriptingCommand")->int32Value(), 0);

  // Without the accounts the global setting decides, and the next question asks for them again.
  engine_.answer(std::unexpected(ScriptError{"no", -600, {}, {}, false}));
  EXPECT_EQ(ask(Descriptor::text("Web")), 1);
  EXPECT_TRUE(accounts_.accounts().get().empty());
  engine_.forget();

  engine_.answer(Descriptor::list({Descriptor::list(
      {Descriptor::text("1"), Descriptor::text("Web"), Descriptor::text("imap.gmail.com")})}));
  EXPECT_EQ(ask(Descriptor::text("Web")), 1);
  ASSERT_TRUE(settings_.archiveGmailBeforeFiling.set(false));
  EXPECT_EQ(ask(Descriptor::text("Web")), 2);
  EXPECT_EQ(engine_.calls().size(), 1U) << "the accounts are known now";
  EXPECT_EQ(accounts_.accounts().get().size(), 2U);

  ASSERT_TRUE(settings_.gmailFilingModes.set({{"Web", "Web", GmailFilingModeEnum::archive}}));
  EXPECT_EQ(ask(Descriptor::text("Web")), 1) << "modes stored elsewhere count";
  ASSERT_TRUE(settings_.gmailFilingModes.set({{"Web", "Web", GmailFilingModeEnum::direct}}));

  // While messages are being archived on demand, every account archives.
  std::optional<std::int32_t> during;
  engine_.setRule([&](const auto&) -> std::optional<ScriptResult> {
    dispatch_.main([&] {
      auto command = makeScriptCommand("GmailAccountFilingModeScriptingCommand", services_);
      command->setEvaluatedArguments({{"", Descriptor::text("Web")}});
      command->performDefaultImplementation([&](const auto& reply) { during = reply->int32Value(); });
    });
    return Descriptor::int32(1);
  });
  ASSERT_TRUE(filing_.transferSelectedMessages({Mailbox::make("A", "A", "Web"), FilingAction::archive}));
  dispatch_.runUntilIdle();
  EXPECT_EQ(during, 1);
  EXPECT_EQ(ask(Descriptor::text("Web")), 2);
}

TEST_F(Scripting, SelectedMailboxAndKeepOpen) {
  EXPECT_EQ(perform("MailboxPathScriptingCommand"), Descriptor::text(""));
  EXPECT_EQ(perform("AccountNameScriptingCommand"), Descriptor::text(""));
  selected_ = Mailbox::make("B", "A/B", "Work");
  EXPECT_EQ(perform("MailboxPathScriptingCommand"), Descriptor::text("A/B"));
  EXPECT_EQ(perform("AccountNameScriptingCommand"), Descriptor::text("Work"));
  EXPECT_EQ(perform("ShouldKeepOpenScriptingCommand"), Descriptor::boolean(true));
  EXPECT_EQ(makeScriptCommand("NoSuchCommand", services_), nullptr);
}

TEST_F(Scripting, PropertiesAreTheSettings) {
  const ApplicationProperties properties(services_);
  ApplicationProperties changing(services_);
  EXPECT_EQ(properties.keys().size(), 25U);
  const struct {
    const char* key;
    Descriptor value;
    std::int64_t error;  // 0: accepted, and read back
  } rows[] = {
      {"caseSensitive", Descriptor::boolean(true), 0},
      {"caseSensitive", Descriptor::list({}), -1700},
      {"labelFiledMessages", Descriptor::text("yellow"), 0},
      {"labelFiledMessages", Descriptor::text("pink"), -10006},
      {"flagFiledMessages", Descriptor::int32(-2), 0},
      {"flagFiledMessages", Descriptor::int32(7), -10006},
      {"flagFiledMessages", Descriptor::text("red"), -1700},
      {"moveSelectionDownAfterFiling", Descriptor::boolean(false), 0},
      {"filingSound", Descriptor::text("pots"), 0},
      {"shouldKeepOpen", Descriptor::boolean(false), 0},
      {"focusedFilingOpacity", Descriptor::real(0.5), 0},
      {"mailboxesLoadingPercentage", Descriptor::real(0.5), 0},
      {"mailboxesLoadingPercentage", Descriptor::missingValue(), 0},
      {"filedCount", Descriptor::int32(5), -10003},
      {"mailboxPath", Descriptor::text("x"), -10003},
      {"no such key", Descriptor::text("x"), -1728},
  };
  for (const auto& row : rows) {
    const auto done = changing.setValue(row.key, row.value);
    EXPECT_EQ(done ? 0 : done.error().number, row.error) << row.key << " " << row.value.description();
    if (row.error == 0) {
      EXPECT_EQ(properties.value(row.key), row.value) << row.key;
    }
  }
  EXPECT_EQ(settings_.moveSelectionDirection.get(), MoveSelectionDirectionAppEnum::up);
  EXPECT_FALSE(settings_.keepOpenAfterFiling.get());
  EXPECT_EQ(properties.value("selectedMailbox"), Descriptor::missingValue());
  EXPECT_EQ(properties.value("no such key").error().number, -1728);
  for (const auto key : properties.keys()) EXPECT_TRUE(properties.value(key).has_value()) << key;
}

}  // namespace
}  // namespace quillbox
