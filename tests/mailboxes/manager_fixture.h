// A mailbox manager on manual queues, with everything around it made by hand.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mailboxes/mailbox_manager.h"
#include "support/fakes.h"
#include "support/manual_dispatch.h"
#include "support/recording_script_engine.h"

namespace quillbox {

// Answers what it was given, and remembers how it was asked.
class FakeSuggestions final : public SuggestionSource {
 public:
  explicit FakeSuggestions(const Dispatch& dispatch) : dispatch_(dispatch) {}

  std::vector<Mailbox> predict(std::size_t limit, double threshold) override {
    EXPECT_FALSE(dispatch_.isMain());
    ++asked;
    lastLimit = limit;
    lastThreshold = threshold;
    return answer;
  }

  std::vector<Mailbox> answer;
  int asked = 0;
  std::size_t lastLimit = 0;
  double lastThreshold = 0;

 private:
  const Dispatch& dispatch_;
};

class NoInstalledScripts final : public InstalledScriptRunner {
 public:
  Path directory() const override { return "/scripts"; }
  bool isInstalled(const std::string&) const override { return false; }
  void execute(const std::string&, AppleEvent, Completion) override {
    FAIL() << "no filing script is installed";
  }
};

class ManagerFixture : public testing::Test {
 protected:
  static Mailbox box(const std::string& id) {
    const auto slash = id.find('/');
    const auto path = id.substr(slash + 1);
    return Mailbox::make(path.substr(path.rfind('/') + 1), path, id.substr(0, slash));
  }
  static std::vector<Mailbox> boxes(const std::vector<std::string>& ids) {
    std::vector<Mailbox> list;
    for (const auto& id : ids) list.push_back(box(id));
    return list;
  }
  static std::vector<std::string> idsOf(const auto& rows) {
    std::vector<std::string> ids;
    for (const Mailbox& mailbox : rows) ids.push_back(mailbox.id);
    return ids;
  }

  // Delivers a list and lets it be taken.
  void deliver(const std::vector<std::string>& ids) {
    notifications.post(notification::shouldReloadWithList, {boxes(ids), true, "test"});
    dispatch.advance(std::chrono::seconds(1));
  }
  std::vector<std::string> rowsFor(const std::string& query) {
    bool done = false;
    manager->search(query, [&] { done = true; });
    dispatch.runUntilIdle();
    EXPECT_TRUE(done) << "the search for " << query << " never settled";
    return idsOf(manager->filteredMailboxes.get());
  }
  void makeManager() {
    manager.reset();
    manager = std::make_unique<MailboxManager>(MailboxManager::Services{
        settings, dispatch, notifications, log, helper, status, retrieval, favorites, recents, excluded});
  }

  ManualClock clock;
  ManualDispatch dispatch{clock};
  NotificationCenter notifications;
  RecordingLog log;
  MemoryUserDefaults defaults;
  UserSettings settings{defaults, log};
  FakeLocalizer localizer;
  FakeWorkspace workspace;
  FakeResourceBundle resources;
  RecordingScriptEngine engine;
  NoInstalledScripts installed;
  ScriptStatus status;
  AppleScriptHelper helper{{engine, installed, resources, workspace, dispatch, localizer, log, status}};
  MailboxRetrieval retrieval{{helper, resources, workspace, notifications, status, log}};
  FavoriteMailboxManager favorites{settings, notifications};
  RecentMailboxManager recents{settings};
  ExcludedMailboxManager excluded{settings};
  FakeSuggestions suggestions{dispatch};
  std::unique_ptr<MailboxManager> manager = std::make_unique<MailboxManager>(MailboxManager::Services{
      settings, dispatch, notifications, log, helper, status, retrieval, favorites, recents, excluded});
};

}  // namespace quillbox
