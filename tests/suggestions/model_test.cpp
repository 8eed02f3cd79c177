// The model against a plain re-computation of its formula, and what happens at its edges.
#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "suggestions/examples.h"
#include "suggestions/features.h"
#include "suggestions/suggestion_model.h"

namespace quillbox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The formula as it is written down: maps of maps, nothing shared, long double.
struct PlainModel {
  std::map<std::string, std::map<std::string, long double>> counts;
  std::map<std::string, long double> examples;
  std::map<std::string, long double> words;
  std::set<std::string> vocabulary;
  std::map<std::string, std::string> mailboxIds;

  void train(const TrainingExample& example) {
    examples[example.mailboxPath] += 1;
    for (const auto& feature : featuresOf(example)) {
      counts[example.mailboxPath][feature] += 1;
      words[example.mailboxPath] += 1;
      vocabulary.insert(feature);
    }
    mailboxIds[example.mailboxPath] = example.mailboxAccount + "/" + example.mailboxPath;
  }

  void reset() {
    counts.clear();
    examples.clear();
    vocabulary.clear();
    mailboxIds.clear();
  }

  std::map<std::string, long double> probabilities(const std::vector<TrainingExample>& messages) const {
    std::map<std::string, long double> scores;
    for (const auto& message : messages) {
      std::map<std::string, long double> occurrences;
      for (const auto& feature : featuresOf(message)) occurrences[feature] += 1;
      for (const auto& [label, count] : examples) {
        const auto labelWords = words.find(label);
        const long double d = std::max<long double>(1, (labelWords == words.end() ? 0 : labelWords->second) +
                                                           static_cast<long double>(vocabulary.size()));
        long double score = std::log(count);
        for (const auto& [feature, n] : occurrences) {
          long double c = 0;
          if (const auto inner = counts.find(label); inner != counts.end()) {
            if (const auto found = inner->second.find(feature); found != inner->second.end())
              c = found->second;
          }
          score += n * std::log((c + 1) / d);
        }
        scores[label] += score;
      }
    }
    long double best = -std::numeric_limits<long double>::infinity();
    for (const auto& [label, score] : scores) best = std::max(best, score);
    long double sum = 0;
    for (auto& [label, score] : scores) sum += score = std::exp(score - best);
    for (auto& [label, score] : scores) score /= sum;
    return scores;
  }
};

// Small pools, so that words, senders and mailboxes meet again and scores tie.
rc::Gen<TrainingExample> anyExample() {
  return rc::gen::apply(
      [](const std::vector<int>& words, int sender, int path, int account, bool isSent, bool longSubject) {
        static const std::vector<std::string> pool = {"invoice", "re",   "the",     "meeting",
                                                      "Über",    "plan", "x@a.org", "a.org",
                                                      "report",  "b",    "INVOICE", "日本"};
        std::string subject;
        for (const int word : words)
          subject += pool[static_cast<std::size_t>(word)] + (longSubject ? " - " : " ");
        if (longSubject) subject += subject + subject + subject;
        static const std::vector<std::string> senders = {"X <x@a.org>", "y@a.org", "nobody", "",
                                                         "Z <z@B.org>"};
        const auto& from = senders[static_cast<std::size_t>(sender)];
        const std::string mailbox = "Box " + std::to_string(path);
        const std::string in = account == 0 ? "Work" : "Home";
        return isSent ? sent(subject, from + ", c@d.e", mailbox, in) : received(subject, from, mailbox, in);
      },
      rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 12)), rc::gen::inRange(0, 5),
      rc::gen::inRange(0, 8), rc::gen::inRange(0, 2), rc::gen::arbitrary<bool>(), rc::gen::arbitrary<bool>());
}

void expectLikePlain(const SuggestionModel& model, const PlainModel& plain,
                     const std::vector<TrainingExample>& messages) {
  const auto expected = plain.probabilities(messages);
  const auto ranked = model.snapshot().rank(messages, 1000);
  RC_ASSERT(ranked.size() == (messages.empty() ? 0 : expected.size()));
  double previous = 2;
  double total = 0;
  for (const auto& [mailbox, probability] : ranked) {
    RC_ASSERT(mailbox.id == plain.mailboxIds.at(mailbox.path));
    const auto wanted = static_cast<double>(expected.at(mailbox.path));
    RC_ASSERT(std::abs(probability - wanted) < 1e-9);
    RC_ASSERT(std::abs(probability - wanted) <= 1e-11 * wanted + 1e-300);
    // The order is the plain one where the plain one tells the two apart.
    RC_ASSERT(probability <= previous);
    previous = probability;
    total += probability;
  }
  for (std::size_t i = 1; i < ranked.size(); ++i) {
    const long double before = expected.at(ranked[i - 1].mailbox.path);
    const long double after = expected.at(ranked[i].mailbox.path);
    RC_ASSERT(before >= after * (1 - 1e-12L));
  }
  if (!ranked.empty()) RC_ASSERT(std::abs(total - 1) < 1e-12);
}

TEST(Model, GivesTheFormulasProbabilitiesOverRandomModels) {
  rc::check([] {
    SuggestionModel model;
    PlainModel plain;
    const auto batches = *rc::gen::inRange(1, 4);
    for (int batch = 0; batch < batches; ++batch) {
      if (batch > 0 && *rc::gen::inRange(0, 4) == 0) {
        model.reset();
        plain.reset();
        expectLikePlain(model, plain, *rc::gen::container<std::vector<TrainingExample>>(2, anyExample()));
      }
      const auto examples = *rc::gen::container<std::vector<TrainingExample>>(anyExample());
      model.train(examples);
      for (const auto& example : examples) plain.train(example);
      RC_ASSERT(model.snapshot().vocabularySize() == static_cast<std::int64_t>(plain.vocabulary.size()));
      RC_ASSERT(model.snapshot().labelCount() == plain.examples.size());
      const auto count = *rc::gen::inRange<std::size_t>(0, 4);
      expectLikePlain(model, plain, *rc::gen::container<std::vector<TrainingExample>>(count, anyExample()));
    }
  });
}

// A long subject tells mailboxes apart by more than a double can show: what is left of the others is 0, but
// their order stays.
TEST(Model, ProbabilitiesMayVanish) {
  SuggestionModel model;
  PlainModel plain;
  std::vector<TrainingExample> examples{received("a b c d e f", "x@a.org", "Wordy"),
                                        received("", "x@a.org", "Brief")};
  for (int i = 0; i < 20; ++i) examples.push_back(received("plan plan plan", "y@a.org", "Plans"));
  model.train(examples);
  for (const auto& example : examples) plain.train(example);
  std::string subject;
  for (int i = 0; i < 2000; ++i) subject += "plan ";
  const std::vector<TrainingExample> messages{received(subject, "y@a.org")};
  const auto ranked = model.snapshot().rank(messages, 3);
  EXPECT_EQ(ranked[1].probability, 0);
  EXPECT_EQ(ranked[1].mailbox.path, "Brief");  // though it was learnt after "Wordy"
  EXPECT_NO_THROW(expectLikePlain(model, plain, messages));
}

TEST(Model, IsExactWhereScoresAreLargeAndCountsGoBeyondTheTable) {
  SuggestionModel model;
  PlainModel plain;
  std::vector<TrainingExample> examples;
  for (int i = 0; i < 6000; ++i) {
    examples.push_back(received(i % 7 == 0 ? "rare word" + std::to_string(i) : "daily report",
                                "bot@example.org", "Box " + std::to_string(i % 3 == 0 ? i % 40 : 0)));
  }
  model.train(examples);
  for (const auto& example : examples) plain.train(example);
  std::string longSubject;
  for (int i = 0; i < 3000; ++i) longSubject += i % 5 == 0 ? "report " : "word" + std::to_string(i) + " ";
  const std::vector<TrainingExample> messages(5, received(longSubject, "bot@example.org"));
  const auto expected = plain.probabilities(messages);
  for (const auto& [mailbox, probability] : model.snapshot().rank(messages, 1000)) {
    EXPECT_NEAR(probability, static_cast<double>(expected.at(mailbox.path)), 1e-9) << mailbox.path;
  }
}

std::vector<std::string> pathsOf(const std::vector<Prediction>& predictions) {
  std::vector<std::string> paths;
  for (const auto& prediction : predictions) paths.push_back(prediction.mailbox.path);
  return paths;
}

TEST(Model, EqualScoresAreEqualToTheBitAndKeepTheirOrder) {
  SuggestionModel model;
  // The same counts, met in another order and on other features: 1, 2, 3 occurrences each.
  model.train(std::vector{sent("alpha beta beta gamma gamma gamma", "", "Zeta"),
                          sent("gamma beta gamma", "", "Other"), sent("beta alpha gamma", "", "Other"),
                          sent("gamma alpha alpha beta beta beta", "", "Alpha")});
  const std::vector<TrainingExample> message{sent("gamma beta alpha", "")};
  const auto two = model.snapshot().predict(std::vector{sent("nothing known", "")}, 5, 0.0);
  ASSERT_EQ(two.size(), 3U);

  SuggestionModel pair;
  pair.train(std::vector{sent("alpha beta beta gamma gamma gamma", "", "Zeta"),
                         sent("gamma alpha alpha beta beta beta", "", "Alpha")});
  const auto both = pair.snapshot().predict(message, 5, 0.5);
  ASSERT_EQ(both.size(), 2U);
  EXPECT_EQ(both[0].probability, 0.5);
  EXPECT_EQ(both[1].probability, 0.5);
  EXPECT_THAT(pathsOf(both), ElementsAre("Zeta", "Alpha"));
  EXPECT_THAT(pathsOf(pair.snapshot().predict(message, 1, 0.5)), ElementsAre("Zeta"));
  EXPECT_THAT(pair.snapshot().predict(message, 5, std::nextafter(0.5, 1.0)), IsEmpty());
  EXPECT_THAT(pair.snapshot().predict(message, 0, 0.0), IsEmpty());
  EXPECT_THAT(pair.snapshot().predict(message, 5, std::nan("")), IsEmpty());
}

TEST(Model, EdgesOfPrediction) {
  SuggestionModel model;
  EXPECT_THAT(model.snapshot().rank(std::vector{received("x", "a@b")}, 5), IsEmpty());
  EXPECT_TRUE(model.snapshot().empty());

  model.train(std::vector{received("x", "a@b", "Deep/Er/Box/", "Home")});
  EXPECT_THAT(model.snapshot().rank({}, 5), IsEmpty());
  const auto only = model.snapshot().predict(std::vector{received("unseen", "else@where")}, 5, 1.0);
  ASSERT_EQ(only.size(), 1U);
  EXPECT_EQ(only[0].probability, 1.0);
  EXPECT_EQ(only[0].mailbox, Mailbox::make("Box", "Deep/Er/Box/", "Home"));

  // One label for both accounts; the account trained last wins.
  model.train(std::vector{received("x", "a@b", "Deep/Er/Box/", "Work")});
  EXPECT_EQ(model.snapshot().labelCount(), 1U);
  EXPECT_EQ(model.snapshot().rank(std::vector{received("x", "a@b")}, 5)[0].mailbox.id, "Work/Deep/Er/Box/");
  EXPECT_EQ(mailboxOf(received("", "", "//", "A")).name, "//");
  EXPECT_EQ(mailboxOf(received("", "", "", "A")).id, "A/");
}

TEST(Model, SnapshotsDoNotChange) {
  SuggestionModel model;
  model.train(std::vector{received("one", "a@b", "First"), received("two", "c@d", "Second")});
  const auto before = model.snapshot();
  const std::vector<TrainingExample> message{received("one three", "a@b")};
  const auto ranked = before.rank(message, 10);
  model.train(std::vector{received("one three", "c@d", "Third"), received("one", "a@b", "Second")});
  EXPECT_EQ(before.rank(message, 10), ranked);
  EXPECT_NE(model.snapshot().rank(message, 10), ranked);
  model.reset();
  EXPECT_EQ(before.rank(message, 10), ranked);
  EXPECT_TRUE(model.snapshot().empty());
  EXPECT_EQ(model.snapshot().vocabularySize(), 0);
}

// Batches are trained while others predict; every prediction must be that of one of the states between
// batches.
TEST(Model, PredictionsDuringTrainingSeeWholeBatches) {
  constexpr int kBatches = 60;
  const auto batch = [](int number) {
    std::vector<TrainingExample> examples;
    for (int i = 0; i < 20; ++i) {
      examples.push_back(received("word" + std::to_string(number * 7 + i) + " common", "a@b",
                                  "Box " + std::to_string((number + i) % 9)));
    }
    return examples;
  };
  const std::vector<TrainingExample> message{received("word9 word100 common", "a@b")};
  std::set<std::vector<double>> possible;
  const auto fingerprint = [&](const SuggestionModel& model) {
    std::vector<double> values;
    for (const auto& prediction : model.snapshot().rank(message, 100))
      values.push_back(prediction.probability);
    return values;
  };
  SuggestionModel rehearsal;
  possible.insert(fingerprint(rehearsal));
  for (int i = 0; i < kBatches; ++i) {
    rehearsal.train(batch(i));
    possible.insert(fingerprint(rehearsal));
  }

  SuggestionModel model;
  std::atomic<bool> done = false;
  std::vector<std::thread> readers;
  std::atomic<int> strange = 0;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      do {
        if (!possible.contains(fingerprint(model))) ++strange;
      } while (!done);
    });
  }
  for (int i = 0; i < kBatches; ++i) model.train(batch(i));
  done = true;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(strange, 0);
}

TEST(ModelDeathTest, AnOverflowingCounterIsFatal) {
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(addCounts(most - 1, 1, "c"), most);
  EXPECT_EQ(addCounts(-5, -6, "c"), -11);
  EXPECT_DEATH(addCounts(most, 1, "a feature’s count"), "a feature’s count overflows");
  EXPECT_DEATH(addCounts(-most, -2, "words"), "words overflows");
}

}  // namespace
}  // namespace quillbox
