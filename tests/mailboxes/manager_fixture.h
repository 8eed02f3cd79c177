// A mailbox manager on manual queues, with everything around it made by hand.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mailboxes/mailbox_manager.h"
#include "support/script_surroundings.h"

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

class ManagerFixture : public testing::Test, protected ScriptSurroundings {
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
    notifications_.post(notification::shouldReloadWithList, {boxes(ids), true, "test"});
    dispatch_.advance(std::chrono::seconds(1));
  }
  std::vector<std::string> rowsFor(const std::string& query) {
    bool done = false;
    manager_->search(query, [&] { done = true; });
    dispatch_.runUntilIdle();
    EXPECT_TRUE(done) << "the search for " << query << " never settled";
    return idsOf(manager_->filteredMailboxes.get());
  }
  void makeManager() {
    manager_.reset();
    manager_ = std::make_unique<MailboxManager>(MailboxManager::Services{settings_, dispatch_, notifications_,
                                                                         log_, helper_, status_, retrieval_,
                                                                         favorites_, recents_, excluded_});
  }

  MailboxRetrieval retrieval_{{helper_, resources_, workspace_, notifications_, status_, log_}};
  FavoriteMailboxManager favorites_{settings_, notifications_};
  RecentMailboxManager recents_{settings_};
  ExcludedMailboxManager excluded_{settings_};
  FakeSuggestions suggestions_{dispatch_};
  std::unique_ptr<MailboxManager> manager_ = std::make_unique<MailboxManager>(
      MailboxManager::Services{settings_, dispatch_, notifications_, log_, helper_, status_, retrieval_,
                               favorites_, recents_, excluded_});
};

}  // namespace quillbox
