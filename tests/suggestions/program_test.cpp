// Learning and predicting with everything real: threads, disk, mail store, interpreter and the script that
// ships.
#include <chrono>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "main/composition.h"
#include "suggestions/examples.h"
#include "support/fakes.h"
#include "support/recording_frontend.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Program : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* folder : {"", ".Projects", ".Projects.Deep", ".Sent Items"}) {
      for (const char* part : {"cur", "new", "tmp"})
        std::filesystem::create_directories(root_ / "mail" / folder / part);
    }
    deliver("", 1, "Ada Lovelace <Ada@Example.org>", "bob@example.com", "Engine drawings");
    deliver("", 2, "\"Shop, the\" <shop@example.net>", "bob@example.com", "Your invoice");
    deliver("", 3, "Bob <BOB@example.com>",
            "Ada <ada@example.org>, carl@example.org\nCc: Dora <dora@example.edu>", "Re: drawings");
    for (int i = 4; i < 8; ++i)
      deliver(".Projects.Deep", i, "ada@example.org", "bob@example.com", "Engine part");
    deliver(".Sent Items", 8, "alias@example.com", "eve@example.org", "Hello");
    start();
    ASSERT_TRUE(all_->mail.addAccount({"Work", root_ / "mail", "imap.example.com"}));
    const mailclient::Environment environment{all_->files, all_->clock, all_->random, log_,
                                              all_->profile.mail};
    mailclient::AccountStore accounts(environment);
    auto account = accounts.accounts().value().at(0);
    account.emailAddresses = {"bob@example.com"};
    ASSERT_TRUE(accounts.update(account));
    ASSERT_TRUE(all_->settings.useSmartFilingSuggestions.set(true));
  }

  void start() {
    all_.reset();
    auto made = Composition::make({root_ / "profile", log_, frontend_});
    ASSERT_TRUE(made) << made.error().message;
    all_ = std::move(*made);
  }

  void deliver(const std::string& folder, int number, const std::string& from, const std::string& to,
               const std::string& subject) {
    const auto name = std::to_string(1'700'000'000 + number) + ".m" + std::to_string(number) + ".host:2,S";
    std::ofstream file(root_ / "mail" / folder / "cur" / name);
    file << "From: " << from << "\nTo: " << to << "\nSubject: " << subject << "\nMessage-ID: <m" << number
         << "@example.org>\nDate: Sun, 1 Mar 2026 09:15:00 +0100\n\nText\n";
  }

  template <class Start>
  void wait(const Start& start) {
    bool done = false;
    start([&done] { done = true; });
    ASSERT_TRUE(all_->dispatch.runMainUntil([&done] { return done; }, std::chrono::seconds(60)));
  }

  Result<std::size_t> learn(const std::string& path) {
    Result<std::size_t> learnt;
    wait([&](auto done) {
      all_->suggestions.trainOnMailbox(Mailbox::make("x", path, "Work"), [&, done](const auto& result) {
        learnt = result;
        done();
      });
    });
    return learnt;
  }

  // The list of mailboxes asks too when the selection is known, and of two who ask at once one gets nothing:
  // asked again until there is something, for ten seconds.
  std::vector<Prediction> predictions(std::span<const TrainingExample> examples, std::size_t limit,
                                      double threshold) {
    std::vector<Prediction> found;
    const auto isAnswered = [&] {
      found = all_->suggestions.predictions(examples, limit, threshold);
      return !found.empty();
    };
    (void)all_->dispatch.runMainUntil(isAnswered, std::chrono::seconds(10));
    return found;
  }

  TemporaryDirectory root_;
  RecordingLog log_;
  RecordingFrontend frontend_;
  std::unique_ptr<Composition> all_;
};

TEST_F(Program, TheScriptTellsOfTheSelection) {
  ASSERT_EQ(all_->mail.selectAll("Work", "INBOX").value(), 3U);
  wait([&](auto done) { all_->suggestions.updateCurrentExamples(done); });
  const auto examples = all_->suggestions.currentExamples();
  const auto is = [](const std::string& subject, const std::string& address, const std::string& domain,
                     std::optional<std::string> recipients) {
    return AllOf(
        Field(&TrainingExample::subject, subject), Field(&TrainingExample::senderAddress, address),
        Field(&TrainingExample::senderDomain, domain), Field(&TrainingExample::recipients, recipients),
        Field(&TrainingExample::isSent, recipients.has_value()),
        Field(&TrainingExample::mailboxPath, "INBOX"), Field(&TrainingExample::mailboxAccount, "Work"),
        Field(&TrainingExample::originalAccount, "Work"));
  };
  EXPECT_THAT(examples,
              UnorderedElementsAre(is("Engine drawings", "Ada@Example.org", "example.org", std::nullopt),
                                   is("Your invoice", "shop@example.net", "example.net", std::nullopt),
                                   is("Re: drawings", "BOB@example.com", "example.com",
                                      "ada@example.org,carl@example.org,dora@example.edu")));
  for (const auto& example : examples)
    EXPECT_THAT(example.messageID, testing::ContainsRegex("^<?m[0-9]@example.org>?$"));

  // A path of several levels.
  ASSERT_EQ(all_->mail.select("Work", "Projects/Deep", {"m4@example.org"}).value(), 1U);
  wait([&](auto done) { all_->suggestions.updateCurrentExamples(done); });
  EXPECT_THAT(all_->suggestions.currentExamples(),
              ElementsAre(Field(&TrainingExample::mailboxPath, "Projects/Deep")));

  // Nothing selected is no failure.
  ASSERT_TRUE(all_->mail.selectNothing());
  wait([&](auto done) { all_->suggestions.updateCurrentExamples(done); });
  EXPECT_THAT(all_->suggestions.currentExamples(), IsEmpty());
}

TEST_F(Program, LearnsAMailboxByTheScriptAndPredictsFromTheLogAfterwards) {
  EXPECT_EQ(learn("Projects/Deep"), Result<std::size_t>(4));
  EXPECT_EQ(learn("Sent Items"), Result<std::size_t>(1));
  EXPECT_EQ(learn("Projects"), Result<std::size_t>(0));
  EXPECT_EQ(learn("No/Such").error(), (Error{-2404, "The mailbox 'No/Such' in 'Work' could not be found"}));
  const auto stored = all_->suggestions.log().loadAll().value();
  ASSERT_EQ(stored.size(), 5U);
  EXPECT_EQ(stored[0].mailboxPath, "Projects/Deep");
  EXPECT_FALSE(stored[0].isSent);
  EXPECT_TRUE(stored[4].isSent);
  EXPECT_EQ(stored[4].recipients, "eve@example.org");

  start();
  ASSERT_TRUE(all_->mail.select("Work", "INBOX", {"m1@example.org"}));
  wait([&](auto done) { all_->suggestions.prepareForPrediction(done); });
  const auto found = predictions(all_->suggestions.currentExamples(), 5, 0.5);
  EXPECT_THAT(found, ElementsAre(Field(&Prediction::mailbox, Field(&Mailbox::id, "Work/Projects/Deep"))));
  EXPECT_EQ(all_->files.info(all_->profile.data / "suggestions-log.key")->permissions, 0600U);
}

TEST_F(Program, AFilingIsLearntWhileTheMessagesMove) {
  for (int round = 0; round < 8; ++round)
    deliver("", 10 + round, "new@example.org", "bob@example.com", "Round");
  for (int round = 0; round < 8; ++round) {
    const auto id = "m" + std::to_string(10 + round) + "@example.org";
    ASSERT_TRUE(all_->mail.select("Work", "INBOX", {id}));
    std::optional<TransferOutcome> outcome;
    ASSERT_TRUE(all_->filing.transferSelectedMessages(
        {Mailbox::make("Projects", "Projects", "Work"), FilingAction::move, KeepOpen::bySetting},
        [&](const TransferOutcome& result) { outcome = result; }));
    ASSERT_TRUE(all_->dispatch.runMainUntil([&] { return outcome.has_value(); }, std::chrono::seconds(60)));
    EXPECT_EQ(outcome->count, 1);
    all_->dispatch.drain();
  }
  const auto stored = all_->suggestions.log().loadAll().value();
  ASSERT_EQ(stored.size(), 8U);
  for (const auto& example : stored) {
    EXPECT_EQ(example.senderAddress, "new@example.org");
    EXPECT_EQ(example.mailboxPath, "Projects");
    EXPECT_EQ(example.originalAccount, "Work");
  }
}

// A large log is learnt while others ask; meanwhile the manager is told to learn more, and at last ends in
// the middle.
TEST_F(Program, PredictionGoesOnBesideTraining) {
  std::vector<TrainingExample> examples;
  for (int i = 0; i < 4000; ++i) {
    examples.push_back(received("word" + std::to_string(i) + " plan",
                                "p" + std::to_string(i % 90) + "@example.org",
                                "Box " + std::to_string(i % 40)));
  }
  ASSERT_TRUE(all_->suggestions.log().append(examples));
  const std::vector<TrainingExample> message{received("plan", "p7@example.org")};
  std::atomic<bool> stop = false;
  std::atomic<std::size_t> answers = 0;
  std::thread asking([&] {
    while (!stop) {
      const auto found = all_->suggestions.predictions(message, 3, 0);
      // Nothing learnt yet, the mailbox alone, the log.
      EXPECT_TRUE(found.empty() || found.size() == 1 || found.size() == 3);
      ++answers;
    }
  });
  all_->suggestions.refreshTrainingIfNeeded();
  EXPECT_EQ(learn("Projects/Deep"), Result<std::size_t>(4));
  all_->dispatch.runMainUntil([&] { return all_->suggestions.isLoaded(); }, std::chrono::seconds(60));
  EXPECT_TRUE(all_->suggestions.isTrained());
  ASSERT_TRUE(all_->settings.useSmartFilingSuggestions.set(false));
  all_->suggestions.refreshTrainingIfNeeded();
  ASSERT_TRUE(all_->settings.useSmartFilingSuggestions.set(true));
  all_->suggestions.refreshTrainingIfNeeded();
  stop = true;
  asking.join();
  EXPECT_GT(answers, 0U);
  all_.reset();
}

}  // namespace
}  // namespace quillbox
