#include "settings/user_settings.h"

#include <cerrno>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "support/fakes.h"

namespace quillbox {
namespace {

struct Start {
  std::shared_ptr<MemoryUserDefaults::Store> store = std::make_shared<MemoryUserDefaults::Store>();
  RecordingLog log;
  std::unique_ptr<MemoryUserDefaults> defaults;
  std::unique_ptr<UserSettings> settings;

  UserSettings& open() {
    settings.reset();
    defaults = std::make_unique<MemoryUserDefaults>(store);
    settings = std::make_unique<UserSettings>(*defaults, log);
    return *settings;
  }
};

TEST(UserSettings, AFreshSuiteHoldsTheDefaultsAndRegistersSixtyFive) {
  Start start;
  const UserSettings& settings = start.open();
  const std::map<std::string, std::string> unlikeFalse = {
      {"savedVersion", "\"\""},
      {"alwaysReturnFocusToSearch", "true"},
      {"archiveGmailBeforeFiling", "true"},
      {"copyGmailWarning", "true"},
      {"automaticallyReloadMailboxes", "true"},
      {"buildNumber", "0"},
      {"truncationMode", "\"tail\""},
      {"suggestedLabelStyle", "\"titleOnly\""},
      {"defaultAction", "\"move\""},
      {"displayFiledCount", "true"},
      {"displayMailboxMatchesCount", "true"},
      {"enterMode", "\"file\""},
      {"escapeMode", "\"close\""},
      {"doublePressEscapeMode", "\"nothing\""},
      {"triplePressEscapeMode", "\"nothing\""},
      {"excludedMailboxes", "[]"},
      {"favoriteMailboxes", "[]"},
      {"filedCount", "0"},
      {"focusedFilingDuration", "0.5"},
      {"focusedFilingOnAllScreens", "true"},
      {"focusedFilingOpacity", "0.75"},
      {"focusedFilingResume", "true"},
      {"filingSound", "\"system\""},
      {"flagFiledMessages", "-1"},
      {"onboardingPage", "0"},
      {"keepOpenAfterFiling", "true"},
      {"keyboardShortcutAction", "\"toggle\""},
      {"labelFiledMessages", "\"none\""},
      {"listFontName", "\"\""},
      {"listFontSize", "12.0"},
      {"markMessagesAsRead", "true"},
      {"moveSelectionDirection", "1"},
      {"recentMailboxes", "[]"},
      {"searchOnActivationMode", "\"retain\""},
      {"sortData", "[]"},
      {"syncFavoriteMailboxes", "[]"},
      {"gmailFilingModes", "[]"},
      {"customKeyboardShortcuts", "[]"},
      {"alignWindowPosition", "\"right\""},
      {"showTrainingButton", "true"},
      {"numberedMailboxesFilingModifier", "2"},
      {"floatingCollectionBehavior", "66"},
      {"standardCollectionBehavior", "2340"},
      {"windowType", "\"floating\""},
      {"searchScope", "[]"},
      {"cloudFolder", "\"\""},
  };
  const auto values = settings.allValues();
  EXPECT_EQ(values.size(), 71U);
  EXPECT_EQ(values.front().key, "savedVersion");
  for (const auto& value : values) {
    const auto expected = unlikeFalse.find(std::string(value.key));
    EXPECT_EQ(value.json, expected == unlikeFalse.end() ? "false" : expected->second) << value.key;
    // Written back, too, and with the registered type.
    const auto stored = start.defaults->stored(value.key);
    ASSERT_TRUE(stored) << value.key;
    if (const auto it = start.defaults->registered().find(std::string(value.key));
        it != start.defaults->registered().end()) {
      EXPECT_EQ(*stored, it->second) << value.key;
    }
  }
  EXPECT_EQ(start.defaults->registered().size(), 65U);
  for (const char* key :
       {"buildNumber", "installed", "windowType", "quickFile", "searchScope", "cloudFolder"})
    EXPECT_FALSE(start.defaults->registered().contains(key)) << key;
  EXPECT_TRUE(start.log.lines().empty());
}

TEST(UserSettings, UnreadableValuesReadAsTheirKeysDefault) {
  struct Case {
    std::string key;
    DefaultsValue stored;
    std::string json;
    bool complains;
  };
  const std::vector<Case> cases = {
      {"truncationMode", std::string("centre"), "\"tail\"", true},
      {"truncationMode", std::string("head"), "\"head\"", false},
      {"escapeMode", std::string("explode"), "\"close\"", true},
      {"doublePressEscapeMode", std::string("explode"), "\"nothing\"", true},
      {"triplePressEscapeMode", std::int64_t{1}, "\"nothing\"", true},
      {"flagFiledMessages", std::int64_t{-2}, "-2", false},
      {"flagFiledMessages", std::int64_t{7}, "-1", true},
      {"flagFiledMessages", std::int64_t{-3}, "-1", true},
      {"moveSelectionDirection", std::int64_t{0}, "0", false},
      {"moveSelectionDirection", std::int64_t{5}, "1", true},
      {"numberedMailboxesFilingModifier", std::int64_t{9}, "2", true},
      {"caseSensitive", std::int64_t{1}, "true", false},
      {"caseSensitive", std::int64_t{2}, "false", true},
      {"caseSensitive", std::string("true"), "false", true},
      {"listFontSize", std::int64_t{14}, "14.0", false},
      {"filedCount", 3.0, "3", false},
      {"filedCount", 0x1p63, "0", true},
      {"savedVersion", std::string("\xFF"), "\"\"", true},
      {"floatingCollectionBehavior", std::int64_t{1}, "66", false},
      {"standardCollectionBehavior", std::int64_t{-1}, "2340", true},
      {"sortData", Data{R"([{"path":"mailbox","order":"up"}])"}, "[]", true},
      {"favoriteMailboxes", Data{""}, "[]", false},
      {"favoriteMailboxes", std::string("[]"), "[]", true},
      {"searchScope", Data{R"(["Work","On My Mac"])"}, R"(["Work","On My Mac"])", false},
  };
  for (const auto& item : cases) {
    Start start;
    start.store->emplace(item.key, item.stored);
    const auto value = start.open().valueOf(item.key);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->json, item.json) << item.key;
    EXPECT_EQ(!start.log.lines(LogLevel::error).empty(), item.complains) << item.key;
    // What was written back reads the same at the next start, in silence.
    RecordingLog quiet;
    MemoryUserDefaults again(start.store);
    EXPECT_EQ(UserSettings(again, quiet).valueOf(item.key)->json, item.json);
    EXPECT_TRUE(quiet.lines().empty()) << item.key;
    EXPECT_EQ(again.writes(), 0U) << "the second start wrote something";
  }
}

TEST(UserSettings, UnreadableListsAreKeptBesideTheirKey) {
  Start start;
  const Data damaged{R"([{"name":"x"}])"};
  start.store->emplace("favoriteMailboxes", damaged);
  EXPECT_TRUE(start.open().favoriteMailboxes.get().empty());
  EXPECT_EQ(start.store->at("favoriteMailboxes.unreadable"), DefaultsValue(damaged));
  EXPECT_TRUE(start.log.contains("Unable to Decode Array of Mailbox (mailbox 1 has no \"path\".)"));
}

TEST(UserSettings, SettingPublishesAndWritesOrDoesNeither) {
  Start start;
  UserSettings& settings = start.open();
  std::vector<TruncationModeEnum> seen;
  const auto subscription =
      settings.truncationMode.observe([&](const TruncationModeEnum& mode) { seen.push_back(mode); });
  const auto before = start.defaults->writes();
  EXPECT_TRUE(settings.truncationMode.set(TruncationModeEnum::head));
  EXPECT_TRUE(settings.truncationMode.set(TruncationModeEnum::head));
  EXPECT_EQ(seen, std::vector{TruncationModeEnum::head});
  EXPECT_EQ(start.defaults->writes(), before + 1);
  EXPECT_EQ(start.store->at("truncationMode"), DefaultsValue(std::string("head")));

  start.defaults->failWrites(ENOSPC);
  const auto failed = settings.truncationMode.set(TruncationModeEnum::middle);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error().number, ENOSPC);
  EXPECT_EQ(settings.truncationMode.get(), TruncationModeEnum::head);
  EXPECT_EQ(seen.size(), 1U);
  EXPECT_EQ(start.log.lines(LogLevel::error).size(), 1U);
  start.defaults->failWrites(0);

  // Values that the suite could not give back are refused, not mangled.
  EXPECT_FALSE(settings.listFontSize.set(std::nan("")));
  EXPECT_FALSE(
      settings.customKeyboardShortcuts.set({{CustomKeyboardShortcutAction::openMail, "ab", 0, true}}));
  EXPECT_FALSE(settings.standardCollectionBehavior.set(UINT64_MAX));
  EXPECT_EQ(settings.listFontSize.get(), 12.0);
}

TEST(UserSettings, AnObserverMaySetTheSameKeyAgain) {
  Start start;
  UserSettings& settings = start.open();
  const auto clamp = settings.filedCount.observe([&](const std::int64_t& count) {
    if (count > 10) (void)settings.filedCount.set(10);
  });
  EXPECT_TRUE(settings.filedCount.set(99));
  EXPECT_EQ(settings.filedCount.get(), 10);
  EXPECT_EQ(start.store->at("filedCount"), DefaultsValue(std::int64_t{10}));
}

TEST(UserSettings, TakesOverWhatAnotherProcessWrote) {
  Start start;
  UserSettings& settings = start.open();
  MemoryUserDefaults otherDefaults(start.store);
  RecordingLog otherLog;
  UserSettings other(otherDefaults, otherLog);
  int told = 0;
  const auto subscription = settings.beepAfterFiling.observe([&](const bool&) { ++told; });
  EXPECT_TRUE(other.beepAfterFiling.set(true));
  EXPECT_FALSE(settings.beepAfterFiling.get());
  settings.synchronize();
  EXPECT_TRUE(settings.beepAfterFiling.get());
  EXPECT_EQ(told, 1);
}

TEST(UserSettings, StartingTakesNothingBackThatAnotherProcessJustSet) {
  Start start;
  start.open();
  MemoryUserDefaults late(start.store);  // has looked, and starts only after the other has changed something
  EXPECT_TRUE(start.settings->beepAfterFiling.set(true));
  RecordingLog log;
  const UserSettings settings(late, log);
  EXPECT_EQ(start.store->at("beepAfterFiling"), DefaultsValue(true));
  EXPECT_TRUE(settings.beepAfterFiling.get());
}

TEST(UserSettings, AccessByKeyTakesWhatTheTypeTakesAndNamesTheRest) {
  struct Case {
    std::string key;
    std::string text;
    std::string json;       // the value afterwards; empty when it is refused
    std::string complaint;  // a part of the message
  };
  const std::string mailbox = R"([{"name":"I","path":"I","account":"A"}])";
  const std::vector<Case> cases = {
      {"caseSensitive", "true", "true", ""},
      {"caseSensitive", "yes", "", "true or false"},
      {"caseSensitive", "", "", "true or false"},
      {"filedCount", "-12", "-12", ""},
      {"filedCount", "12x", "", "a whole number"},
      {"filedCount", "9223372036854775808", "", "a whole number"},
      {"focusedFilingOpacity", "0.25", "0.25", ""},
      {"focusedFilingOpacity", "nan", "", "a number"},
      {"focusedFilingOpacity", "1e999", "", "a number"},
      {"listFontName", "Ünïcode \"quoted\"", R"("Ünïcode \"quoted\"")", ""},
      {"listFontName", "\xC3\x28", "", "a text in UTF-8"},
      {"defaultAction", "train", "\"train\"", ""},
      {"defaultAction", "Train", "", "one of: move, copy, open, train, nothing"},
      {"flagFiledMessages", "-2", "-2", ""},
      {"flagFiledMessages", "7", "", "-2 (remove)"},
      {"floatingCollectionBehavior", "-1", "", "0 or more"},
      {"favoriteMailboxes", mailbox, mailbox, ""},
      {"favoriteMailboxes", R"([{"name":"I"}])", "", "mailbox 1 has no \"path\""},
      {"favoriteMailboxes", "Inbox", "", "not valid JSON"},
      {"searchScope", R"(["A"])", R"(["A"])", ""},
      {"searchScope", "[1]", "", "not a text"},
      {"syncFavoriteMailboxes", "{\"a\":1}", "{\"a\":1}", ""},
  };
  for (const auto& item : cases) {
    Start start;
    UserSettings& settings = start.open();
    const auto before = *start.store;
    const auto done = settings.setValue(item.key, item.text);
    if (!item.json.empty()) {
      ASSERT_TRUE(done) << item.key << " " << item.text << ": " << done.error().message;
      EXPECT_EQ(settings.valueOf(item.key)->json, item.json);
      continue;
    }
    ASSERT_FALSE(done) << item.key << " " << item.text;
    EXPECT_EQ(done.error().number, error_number::settingValueInvalid);
    for (const auto& part : {item.key, item.complaint})
      EXPECT_NE(done.error().message.find(part), std::string::npos) << done.error().message;
    EXPECT_TRUE(text::isValidUtf8(done.error().message));
    EXPECT_EQ(*start.store, before);
  }
  Start start;
  UserSettings& settings = start.open();
  const auto before = *start.store;
  const auto unknown = settings.setValue("keepopenafterfiling", "true");
  EXPECT_EQ(unknown.error().number, error_number::settingNotFound);
  EXPECT_NE(unknown.error().message.find("keepopenafterfiling"), std::string::npos);
  EXPECT_EQ(settings.valueOf("").error().number, error_number::settingNotFound);
  EXPECT_EQ(*start.store, before);
  EXPECT_EQ(settings.valueOf("defaultAction")->text, "move");
}

TEST(UserSettings, WhatGetShowsSetTakes) {
  EXPECT_TRUE(rc::check("set(key, get(key)) changes nothing; random text is refused whole", [] {
    Start start;
    UserSettings& settings = start.open();
    const auto all = settings.allValues();
    const auto& value = all[*rc::gen::inRange<std::size_t>(0, all.size())];
    const std::string key(value.key);
    RC_ASSERT(settings.setValue(key, value.text).has_value());
    RC_ASSERT(settings.valueOf(key)->json == value.json);
    const auto junk = *rc::gen::arbitrary<std::string>();
    const auto before = *start.store;
    if (!settings.setValue(key, junk)) RC_ASSERT(*start.store == before);
    const auto shown = *settings.valueOf(key);
    RC_ASSERT(settings.setValue(key, shown.text).has_value());
    RC_ASSERT(settings.valueOf(key)->json == shown.json);
  }));
}

}  // namespace
}  // namespace quillbox
