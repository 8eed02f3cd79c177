// The manager's queues, flags and notifications, moved by hand; and prediction beside training on real
// threads.
#include <cerrno>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "suggestions/examples.h"
#include "suggestions/memory_secret_store.h"
#include "suggestions/notifications.h"
#include "suggestions/smart_suggestions_manager.h"
#include "support/faulty_file_system.h"
#include "support/memory_file_system.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ScriptError failure(std::string message, std::int64_t number) {
  ScriptError error;
  error.message = std::move(message);
  error.number = number;
  return error;
}

Descriptor record(const TrainingExample& example) {
  Descriptor::Record fields = {{"subject", Descriptor::text(example.subject)},
                               {"sender", Descriptor::text(example.fullSender)},
                               {"originalAccount", Descriptor::text(example.originalAccount)},
                               {"messageID", Descriptor::text(example.messageID)},
                               {"mailboxPath", Descriptor::text(example.mailboxPath)},
                               {"mailboxAccount", Descriptor::text(example.mailboxAccount)},
                               {"isSent", Descriptor::boolean(example.isSent)}};
  if (example.recipients) fields.emplace_back("recipients", Descriptor::text(*example.recipients));
  return Descriptor::record(std::move(fields));
}

Descriptor records(const std::vector<TrainingExample>& examples) {
  std::vector<Descriptor> items;
  for (const auto& example : examples) items.push_back(record(example));
  return Descriptor::list(std::move(items));
}

class Manager : public testing::Test, protected ScriptSurroundings {
 protected:
  Manager() {
    resources_.add("Scripts/generateTrainingData.scpt", "/app/generateTrainingData.applescript");
    for (const auto* name :
         {&notification::isTrainingSuggestions, &notification::doneTrainingSuggestions,
          &notification::isPredictingSuggestions, &notification::donePredictingSuggestions,
          &notification::currentExamplesUpdated, &notification::smartSuggestionsDisabled}) {
      watches_.push_back(notifications_.observe(*name, std::function([this, name](const NoObject&) {
        posted_.emplace_back(name->text.substr(9));
        EXPECT_TRUE(dispatch_.isMain());
      })));
    }
    EXPECT_TRUE(settings_.useSmartFilingSuggestions.set(true));
    make();
  }

  void make() {
    manager_ = std::make_unique<SmartSuggestionsManager>(
        SmartSuggestionsManager::Services{helper_, settings_, dispatch_, notifications_, localizer_, log_},
        std::make_unique<AdvancedLogManager>(AdvancedLogManager::Services{files_, random_, secrets_, log_},
                                             "/data", AdvancedLogMode::encrypted));
  }

  // What was posted since the last call, without "Quillbox.".
  std::vector<std::string> posted() { return std::exchange(posted_, {}); }

  // The model's answer for one message that only the sender tells.
  std::vector<std::string> answer(double threshold = 0.5) {
    std::vector<std::string> ids;
    for (const auto& mailbox :
         manager_->predict(std::vector{received("", "ada@example.org")}, 5, threshold)) {
      ids.push_back(mailbox.id);
    }
    return ids;
  }

  void fillLog(const std::vector<TrainingExample>& examples) {
    ASSERT_TRUE(manager_->log().append(examples));
  }

  MemoryFileSystem disk_;
  FaultyFileSystem files_{disk_};
  FixedRandomSource random_;
  MemorySecretStore secrets_;
  std::vector<Subscription> watches_;
  std::vector<std::string> posted_;
  std::unique_ptr<SmartSuggestionsManager> manager_;
};

TEST_F(Manager, TrainsOnceFromTheLogAndSaysSo) {
  fillLog({received("hello", "ada@example.org", "Friends"), received("bill", "shop@example.com", "Bills")});
  manager_->refreshTrainingIfNeeded();
  EXPECT_FALSE(manager_->isTraining());  // nothing happens on the caller's queue
  manager_->refreshTrainingIfNeeded();   // a second call meanwhile starts nothing
  dispatch_.runUntilIdle();
  EXPECT_TRUE(manager_->isLoaded());
  EXPECT_TRUE(manager_->isTrained());
  EXPECT_FALSE(manager_->isTraining());
  EXPECT_TRUE(log_.contains("refreshTrainingIfNeeded started (isTraining=true, isLoaded=false)"));
  EXPECT_THAT(posted(), ElementsAre("isTrainingSuggestions"));
  dispatch_.advance(std::chrono::milliseconds(499));
  EXPECT_THAT(posted(), IsEmpty());
  dispatch_.advance(std::chrono::milliseconds(1));
  EXPECT_THAT(posted(), ElementsAre("doneTrainingSuggestions"));
  EXPECT_THAT(answer(), ElementsAre("Work/Friends"));
  EXPECT_TRUE(log_.contains("predict with examples: [{"));
  EXPECT_TRUE(log_.contains("predicted mailboxes: [Work/Friends] with probs: [Friends: 0."));

  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(answer(0.99), IsEmpty());
  EXPECT_TRUE(log_.contains("no mailbox cleared confidence 0.99"));
  EXPECT_FALSE(manager_->isPredicting());
}

TEST_F(Manager, AnEmptyLogLeavesItUntrainedAndAnUnreadableOneUnloaded) {
  EXPECT_THAT(answer(0), IsEmpty());
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_TRUE(manager_->isLoaded());
  EXPECT_FALSE(manager_->isTrained());
  EXPECT_THAT(answer(0), IsEmpty());
  EXPECT_FALSE(log_.contains("no mailbox cleared confidence"));

  fillLog({received("hello", "ada@example.org", "Friends")});
  dispatch_.advance(std::chrono::seconds(1));
  make();
  posted();
  files_.failReadsWhen([](const FaultyFileSystem::Step& step) {
    return step.operation == "read" ? std::optional(EIO) : std::nullopt;
  });
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_FALSE(manager_->isLoaded());
  EXPECT_FALSE(manager_->isTraining());
  EXPECT_TRUE(log_.contains("Training failed: "));
  EXPECT_THAT(posted(), ElementsAre("isTrainingSuggestions", "doneTrainingSuggestions"));
  files_.reset();
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_TRUE(manager_->isLoaded());
  EXPECT_THAT(answer(), ElementsAre("Work/Friends"));

  ASSERT_TRUE(manager_->log().clear());
  make();
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_FALSE(manager_->isTrained());
}

TEST_F(Manager, SwitchedOffItForgetsAllButTheWordTotals) {
  fillLog({received("hello", "ada@example.org", "Friends"), received("", "shop@example.com", "Bills")});
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  const auto message = std::vector{received("hello", "ada@example.org")};
  const auto before = manager_->predictions(message, 5, 0);

  ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(false));
  posted();
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), ElementsAre("smartSuggestionsDisabled"));
  EXPECT_FALSE(manager_->isLoaded());
  EXPECT_THAT(answer(0), IsEmpty());

  ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(true));
  manager_->refreshTrainingIfNeeded();
  dispatch_.runUntilIdle();
  EXPECT_TRUE(manager_->isLoaded());
  const auto after = manager_->predictions(message, 5, 0);
  ASSERT_EQ(after.size(), before.size());
  // Friends holds 4 words, Bills 3, counted twice by now; 6 are known.
  const double friends = (2.0 * 2 * 2 * 2) / (14.0 * 14 * 14 * 14);
  const double bills = (1.0 * 1 * 1 * 2) / (12.0 * 12 * 12 * 12);
  EXPECT_EQ(after[0].mailbox.path, "Friends");
  EXPECT_NEAR(after[0].probability, friends / (friends + bills), 1e-12);
  EXPECT_NE(after[0].probability, before[0].probability);
}

// Off and on again at every moment of a run: at the end the log has been learnt once.
TEST_F(Manager, ASwitchDuringARunNeitherLosesNorDoublesTheModel) {
  fillLog({received("hello", "ada@example.org", "Friends"), received("", "shop@example.com", "Bills")});
  for (int moment = 0; moment < 12; ++moment) {
    make();
    ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(true));
    manager_->refreshTrainingIfNeeded();
    for (int i = 0; i < moment; ++i) {
      if (i % 3 == 2) dispatch_.runMain();
      dispatch_.runBackground();
    }
    ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(false));
    manager_->refreshTrainingIfNeeded();
    if (moment % 2 == 0) dispatch_.runBackground();
    if (moment % 4 <= 1) {
      dispatch_.runUntilIdle();
      EXPECT_FALSE(manager_->isLoaded()) << moment;
      EXPECT_THAT(answer(0), IsEmpty()) << moment;
    }
    ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(true));
    manager_->refreshTrainingIfNeeded();
    dispatch_.runUntilIdle();
    manager_->refreshTrainingIfNeeded();
    dispatch_.runUntilIdle();
    EXPECT_TRUE(manager_->isLoaded()) << moment;
    const auto found = manager_->predictions(std::vector{sent("neither", "")}, 5, 0);
    ASSERT_EQ(found.size(), 2U) << moment;
    // One example each: a doubled one would outweigh by its prior alone.
    EXPECT_NEAR(found[0].probability + found[1].probability, 1, 1e-12);
    EXPECT_THAT(answer(), ElementsAre("Work/Friends")) << moment;
  }
}

TEST_F(Manager, LooksUpTheSelectionForThePrediction) {
  engine_.answer(records({received("one", "a@b"), sent("two", "c@d")}));
  manager_->updateCurrentExamples();
  EXPECT_THAT(posted(), ElementsAre("isPredictingSuggestions"));
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), ElementsAre("currentExamplesUpdated"));
  ASSERT_EQ(engine_.calls().size(), 1U);
  EXPECT_EQ(engine_.calls()[0].handler(), "generateTrainingData");
  EXPECT_THAT(engine_.calls()[0].arguments(), ElementsAre(Descriptor::text(""), Descriptor::text("")));
  ASSERT_EQ(manager_->currentExamples().size(), 2U);
  EXPECT_EQ(manager_->currentExamples()[1].recipients, "c@d");
  EXPECT_TRUE(log_.contains("Parsed 2 training examples"));
  EXPECT_TRUE(log_.contains("Parsed 2 examples"));

  const std::vector<std::pair<ScriptResult, std::string>> failures = {
      {Descriptor::text("oops"), "Unexpected return type: "},
      {std::unexpected(failure("Mail is gone", -600)), "Mail is gone"}};
  for (const auto& [result, line] : failures) {
    engine_.answer(result);
    manager_->updateCurrentExamples();
    dispatch_.runUntilIdle();
    EXPECT_THAT(posted(), ElementsAre("isPredictingSuggestions", "donePredictingSuggestions"));
    EXPECT_TRUE(log_.contains(line)) << line;
  }
  EXPECT_EQ(manager_->currentExamples().size(), 2U);

  // Without a running mail client nothing is sent.
  workspace_.setRunning(mailBundleIdentifier, false);
  engine_.forget();
  manager_->updateCurrentExamples();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), ElementsAre("isPredictingSuggestions", "donePredictingSuggestions"));
  EXPECT_THAT(engine_.calls(), IsEmpty());
}

TEST_F(Manager, ALaterLookupTakesThePlaceOfAnEarlierOne) {
  engine_.setRule([&](const RecordingScriptEngine::Call&) -> std::optional<ScriptResult> {
    return records({received("call " + std::to_string(engine_.calls().size()), "a@b")});
  });
  manager_->updateCurrentExamples();
  dispatch_.runBackground();
  manager_->updateCurrentExamples();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(),
              ElementsAre("isPredictingSuggestions", "isPredictingSuggestions", "currentExamplesUpdated"));
  EXPECT_EQ(manager_->currentExamples().size(), 1U);

  // Switched off in the middle of one: the busy sign ends at once, and nothing comes after.
  manager_->updateCurrentExamples();
  ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(false));
  manager_->updateCurrentExamples();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), ElementsAre("isPredictingSuggestions", "donePredictingSuggestions"));
  manager_->updateCurrentExamples();
  dispatch_.runUntilIdle();
  EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(Manager, LearnsAMailboxAndTheSelectionAtOnce) {
  std::vector<Result<std::size_t>> results;
  const auto done = [&](const Result<std::size_t>& result) {
    EXPECT_TRUE(dispatch_.isMain());
    results.push_back(result);
  };
  engine_.answer(records({received("hello", "ada@example.org", "Friends", "Home")}));
  manager_->trainOnMailbox(Mailbox::make("Friends", "Friends", "Home"), done);
  dispatch_.runUntilIdle();
  EXPECT_THAT(engine_.calls()[0].arguments(),
              ElementsAre(Descriptor::text("Friends"), Descriptor::text("Home")));
  EXPECT_THAT(answer(), ElementsAre("Home/Friends"));

  engine_.answer(
      records({received("x", "ada@example.org", "Inbox"), received("y", "ada@example.org", "Inbox")}));
  manager_->trainOnSelection(Mailbox::make("New", "Old/New", "Work"), done);
  dispatch_.runUntilIdle();
  EXPECT_THAT(engine_.calls()[1].arguments(), ElementsAre(Descriptor::text(""), Descriptor::text("")));
  EXPECT_THAT(answer(), ElementsAre("Work/Old/New"));
  const auto stored = manager_->log().loadAll().value();
  ASSERT_EQ(stored.size(), 3U);
  EXPECT_EQ(mailboxOf(stored[2]).id, "Work/Old/New");
  EXPECT_EQ(stored[2].originalAccount, "Work");

  // Nothing selected; a failing script; a log that cannot be written: the model stays as it is.
  engine_.answer(records({}));
  manager_->trainOnSelection(Mailbox::make("A", "A", "B"), done);
  engine_.answer(std::unexpected(failure("No such mailbox", -2404)));
  manager_->trainOnMailbox(Mailbox::make("A", "A", "B"), done);
  dispatch_.runUntilIdle();
  files_.failWhen([](const FaultyFileSystem::Step&) { return std::optional(ENOSPC); });
  engine_.answer(records({received("z", "ada@example.org", "Full")}));
  manager_->trainOnMailbox(Mailbox::make("Full", "Full", "B"), done);
  dispatch_.runUntilIdle();
  ASSERT_EQ(results.size(), 5U);
  EXPECT_EQ(results[0], Result<std::size_t>(1));
  EXPECT_EQ(results[1], Result<std::size_t>(2));
  EXPECT_EQ(results[2], Result<std::size_t>(0));
  EXPECT_EQ(results[3].error(), (Error{-2404, "No such mailbox"}));
  EXPECT_EQ(results[4].error().number, ENOSPC);
  EXPECT_THAT(answer(), ElementsAre("Work/Old/New"));
}

TEST_F(Manager, PreparesForOnePrediction) {
  fillLog({received("hello", "ada@example.org", "Friends")});
  engine_.setDefaultAnswer(records({received("hello", "ada@example.org")}));
  int done = 0;
  const auto prepare = [&] {
    manager_->prepareForPrediction([&] { ++done; });
    dispatch_.runUntilIdle();
  };
  // While a run is at work, loaded already, with a script that fails, and switched off.
  manager_->refreshTrainingIfNeeded();
  dispatch_.runBackground();
  prepare();
  EXPECT_EQ(done, 1);
  EXPECT_TRUE(manager_->isLoaded());
  EXPECT_EQ(manager_->currentExamples().size(), 1U);
  prepare();
  engine_.answer(std::unexpected(failure("gone", -1)));
  prepare();
  ASSERT_TRUE(settings_.useSmartFilingSuggestions.set(false));
  prepare();
  EXPECT_EQ(done, 4);
  EXPECT_FALSE(manager_->isLoaded());
}

// The disk and the mail client may keep their callers waiting.
TEST_F(Manager, TheMainQueueNeitherReadsNorWritesNorRunsScripts) {
  fillLog({received("hello", "ada@example.org", "Friends")});
  int steps = 0;
  const auto watch = [&](const FaultyFileSystem::Step& step) -> std::optional<int> {
    ++steps;
    EXPECT_FALSE(dispatch_.isMain()) << step.operation;
    return std::nullopt;
  };
  files_.failWhen(watch);
  files_.failReadsWhen(watch);
  engine_.setRule([&](const RecordingScriptEngine::Call& call) -> std::optional<ScriptResult> {
    EXPECT_FALSE(dispatch_.isMain()) << call.handler();
    return records({received("hello", "ada@example.org", "Friends")});
  });
  const auto afterEach = [&](const auto& start) {
    const int before = steps;
    start();
    EXPECT_EQ(steps, before);  // nothing before the call returns
    dispatch_.runUntilIdle();
    return steps > before;
  };
  const auto ignore = [](const Result<std::size_t>&) {};
  EXPECT_TRUE(afterEach([&] { manager_->refreshTrainingIfNeeded(); }));
  EXPECT_FALSE(afterEach([&] { manager_->updateCurrentExamples(); }));
  EXPECT_TRUE(afterEach([&] { manager_->trainOnMailbox(Mailbox::make("A", "A", "B"), ignore); }));
  EXPECT_TRUE(afterEach([&] { manager_->trainOnSelection(Mailbox::make("A", "A", "B"), ignore); }));
  EXPECT_EQ(engine_.calls().size(), 3U);
}

TEST_F(Manager, EndsWithWorkUnderWay) {
  fillLog({received("hello", "ada@example.org", "Friends")});
  for (int moment = 0; moment < 8; ++moment) {
    make();
    engine_.setDefaultAnswer(records({received("hello", "ada@example.org", "Friends")}));
    manager_->refreshTrainingIfNeeded();
    manager_->updateCurrentExamples();
    int done = 0;
    manager_->trainOnSelection(Mailbox::make("A", "A", "B"), [&](const Result<std::size_t>&) { ++done; });
    for (int i = 0; i < moment; ++i) {
      dispatch_.runBackground();
      dispatch_.runMain();
    }
    const int before = done;
    manager_.reset();
    posted();
    dispatch_.advance(std::chrono::seconds(2));
    EXPECT_EQ(done, before);
    EXPECT_THAT(posted(), IsEmpty());
  }
}

}  // namespace
}  // namespace quillbox
