// Training, prediction and the reading of the log, each beside the plain form of the same work: maps of maps
// computed as the formula is written, and the log in the clear.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "suggestions/advanced_log_manager.h"
#include "suggestions/features.h"
#include "suggestions/suggestion_model.h"
#include "support/fakes.h"
#include "support/memory_file_system.h"

namespace {

using namespace quillbox;

TrainingExample example(std::mt19937& random, int labels, int words, int senders, int subjectWords) {
  std::uniform_int_distribution<int> label(0, labels - 1);
  std::uniform_int_distribution<int> word(0, words - 1);
  std::uniform_int_distribution<int> sender(0, senders - 1);
  TrainingExample made;
  for (int i = 0; i < subjectWords; ++i) made.subject += "Word" + std::to_string(word(random)) + " ";
  const int person = sender(random);
  made.senderAddress = fmt::format("person{}@Company{}.example.org", person, person % 500);
  made.fullSender = "A Person <" + made.senderAddress + ">";
  made.senderDomain = made.senderAddress.substr(made.senderAddress.find('@') + 1);
  made.originalAccount = "Work";
  made.messageID = "<" + std::to_string(random()) + "." + std::to_string(random()) + "@mail.example.org>";
  made.mailboxPath = "Projects/Customer " + std::to_string(label(random));
  made.mailboxAccount = "Work";
  return made;
}

std::vector<TrainingExample> examples(int count, int labels, int words, int senders, int subjectWords) {
  std::mt19937 random(7);
  std::vector<TrainingExample> made;
  made.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) made.push_back(example(random, labels, words, senders, subjectWords));
  return made;
}

// The formula over maps, nothing computed before it is needed.
struct PlainModel {
  std::unordered_map<std::string, std::unordered_map<std::string, std::int64_t>> wordCounts;
  std::unordered_map<std::string, std::int64_t> labelCounts;
  std::unordered_map<std::string, std::int64_t> totalWords;
  std::unordered_set<std::string> vocabulary;

  void train(const TrainingExample& trained) {
    ++labelCounts[trained.mailboxPath];
    FeatureList features;
    extractFeatures(trained, features);
    for (std::size_t i = 0; i < features.size(); ++i) {
      std::string feature(features[i]);
      ++wordCounts[trained.mailboxPath][feature];
      ++totalWords[trained.mailboxPath];
      vocabulary.insert(std::move(feature));
    }
  }

  double best(const std::vector<TrainingExample>& messages) const {
    std::unordered_map<std::string, double> scores;
    for (const auto& message : messages) {
      FeatureList features;
      extractFeatures(message, features);
      std::unordered_map<std::string, std::int64_t> occurrences;
      for (std::size_t i = 0; i < features.size(); ++i) ++occurrences[std::string(features[i])];
      for (const auto& [label, count] : labelCounts) {
        double score = std::log(static_cast<double>(count));
        const auto total = totalWords.find(label);
        const double d =
            std::max<double>(1, static_cast<double>((total == totalWords.end() ? 0 : total->second) +
                                                    static_cast<std::int64_t>(vocabulary.size())));
        const auto inner = wordCounts.find(label);
        for (const auto& [feature, n] : occurrences) {
          std::int64_t c = 0;
          if (inner != wordCounts.end()) {
            if (const auto found = inner->second.find(feature); found != inner->second.end())
              c = found->second;
          }
          score += static_cast<double>(n) * std::log((static_cast<double>(c) + 1) / d);
        }
        scores[label] += score;
      }
    }
    double most = -1e300;
    for (const auto& [label, score] : scores) most = std::max(most, score);
    double sum = 0;
    for (auto& [label, score] : scores) sum += score = std::exp(score - most);
    std::vector<double> sorted;
    for (const auto& [label, score] : scores) sorted.push_back(score / sum);
    std::ranges::stable_sort(sorted, std::greater<>());
    return sorted.front();
  }
};

const std::vector<TrainingExample>& hundredThousand() {
  static const auto made = examples(100'000, 300, 40'000, 3'000, 6);
  return made;
}

void trainHundredThousand(benchmark::State& state) {
  const auto& trained = hundredThousand();
  for (auto _ : state) {
    SuggestionModel model;
    model.train(trained);
    benchmark::DoNotOptimize(model.snapshot().vocabularySize());
  }
}
BENCHMARK(trainHundredThousand)->Unit(benchmark::kMillisecond);

void trainHundredThousandPlain(benchmark::State& state) {
  const auto& trained = hundredThousand();
  for (auto _ : state) {
    PlainModel model;
    for (const auto& one : trained) model.train(one);
    benchmark::DoNotOptimize(model.vocabulary.size());
  }
}
BENCHMARK(trainHundredThousandPlain)->Unit(benchmark::kMillisecond);

// 1,000 labels and 200,000 features.
struct Large {
  std::vector<TrainingExample> trained = examples(120'000, 1'000, 202'000, 4'000, 6);
  std::vector<TrainingExample> messages;
  SuggestionModel model;
  PlainModel plain;

  Large() {
    std::mt19937 random(11);
    for (int i = 0; i < 5; ++i) messages.push_back(example(random, 1'000, 202'000, 4'000, 8));
    model.train(trained);
    for (const auto& one : trained) plain.train(one);
  }
};

const Large& large() {
  static const Large made;
  return made;
}

double threadMilliseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void report(benchmark::State& state) {
  const auto snapshot = large().model.snapshot();
  state.counters["labels"] = static_cast<double>(snapshot.labelCount());
  state.counters["features"] = static_cast<double>(snapshot.vocabularySize());
}

void predictFiveMessages(benchmark::State& state) {
  const auto& [trained, messages, model, plain] = large();
  for (auto _ : state) benchmark::DoNotOptimize(model.snapshot().predict(messages, 5, 0.5));
  report(state);
}
BENCHMARK(predictFiveMessages)->Unit(benchmark::kMicrosecond);

void predictFiveMessagesPlain(benchmark::State& state) {
  const auto& [trained, messages, model, plain] = large();
  for (auto _ : state) benchmark::DoNotOptimize(plain.best(messages));
  report(state);
}
BENCHMARK(predictFiveMessagesPlain)->Unit(benchmark::kMicrosecond);

void snapshot(benchmark::State& state) {
  const SuggestionModel& model = large().model;
  for (auto _ : state) benchmark::DoNotOptimize(model.snapshot());
}
BENCHMARK(snapshot);

// What one filing of five messages costs a large model, the new version included.
void trainFiveMore(benchmark::State& state) {
  SuggestionModel model;
  model.train(large().trained);
  const auto held = model.snapshot();
  for (auto _ : state) model.train(large().messages);
  benchmark::DoNotOptimize(held);
}
BENCHMARK(trainFiveMore)->Unit(benchmark::kMicrosecond);

// The same prediction while another thread trains without a pause, in batches of 1,000: it must not wait for
// them. The slowest one, too, in processor time of its thread and by the wall.
void predictFiveMessagesBesideTraining(benchmark::State& state) {
  SuggestionModel model;
  model.train(large().trained);
  std::atomic<bool> stop = false;
  std::thread training([&] {
    const std::span<const TrainingExample> all = large().trained;
    for (std::size_t at = 0; !stop; at = (at + 1'000) % all.size()) model.train(all.subspan(at, 1'000));
  });
  double slowest = 0;
  double slowestWall = 0;
  for (auto _ : state) {
    const double start = threadMilliseconds();
    const auto startWall = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(model.snapshot().predict(large().messages, 5, 0.5));
    slowest = std::max(slowest, threadMilliseconds() - start);
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - startWall;
    slowestWall = std::max(slowestWall, wall.count());
  }
  stop = true;
  training.join();
  state.counters["slowest_ms"] = slowest;
  state.counters["slowest_wall_ms"] = slowestWall;
}
BENCHMARK(predictFiveMessagesBesideTraining)->Unit(benchmark::kMicrosecond);

class OneSecret final : public SecretStore {
 public:
  Result<std::optional<std::string>> read(std::string_view) override { return std::string(32, 's'); }
  Result<void> write(std::string_view, std::string_view) override { return {}; }
};

void loadHundredThousand(benchmark::State& state, AdvancedLogMode mode) {
  MemoryFileSystem files;
  FixedRandomSource random;
  OneSecret secrets;
  RecordingLog log;
  AdvancedLogManager manager({files, random, secrets, log}, "/data", mode);
  (void)manager.append(hundredThousand());
  for (auto _ : state) {
    const auto loaded = manager.loadAll();
    if (!loaded || loaded->size() != hundredThousand().size()) state.SkipWithError("the log did not load");
  }
}
BENCHMARK_CAPTURE(loadHundredThousand, encrypted, AdvancedLogMode::encrypted)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(loadHundredThousand, plain, AdvancedLogMode::plaintext)->Unit(benchmark::kMillisecond);

void appendHundredThousand(benchmark::State& state, AdvancedLogMode mode) {
  FixedRandomSource random;
  OneSecret secrets;
  RecordingLog log;
  for (auto _ : state) {
    MemoryFileSystem files;
    AdvancedLogManager manager({files, random, secrets, log}, "/data", mode);
    if (!manager.append(hundredThousand())) state.SkipWithError("the log was not written");
  }
}
BENCHMARK_CAPTURE(appendHundredThousand, encrypted, AdvancedLogMode::encrypted)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(appendHundredThousand, plain, AdvancedLogMode::plaintext)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
