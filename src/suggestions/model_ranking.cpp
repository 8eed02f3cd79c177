#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

#include "suggestions/features.h"
#include "suggestions/model_version.h"
#include "suggestions/suggestion_model.h"

namespace quillbox {
namespace {

using model_detail::Chunk;
using model_detail::Posting;
using model_detail::Version;

// A sum that carries what each addition rounds away, so that the order in which a score was put together does
// not show: labels with equal counts get equal scores, to the bit. (Knuth's TwoSum.)
struct Sum {
  double high = 0;
  double low = 0;

  void add(double value) {
    const double sum = high + value;
    const double part = sum - high;
    low += (high - (sum - part)) + (value - part);
    high = sum;
  }
  void addProduct(double a, double b) {
    const double product = a * b;
    low += std::fma(a, b, -product);
    add(product);
  }
  // high is the sum rounded to a double.
  void settle() {
    const double sum = high + low;
    low -= sum - high;
    high = sum;
  }
};

// ln(count + 1).
double logOfCount(std::int64_t count) {
  static const auto table = [] {
    std::array<double, 1024> logs{};
    for (std::size_t i = 0; i < logs.size(); ++i) logs[i] = std::log(static_cast<double>(i) + 1);
    return logs;
  }();
  if (count < static_cast<std::int64_t>(table.size())) return table[static_cast<std::size_t>(count)];
  return std::log(static_cast<double>(count) + 1);
}

struct Occurrences {
  std::uint32_t feature = 0;
  std::int64_t times = 0;
};

// The known features of all examples with their multiplicity, and how many occurrences there are, unseen ones
// included.
std::vector<Occurrences> countFeatures(const Version& version, std::span<const TrainingExample> examples,
                                       std::int64_t& total) {
  std::vector<std::uint32_t> numbers;
  FeatureList features;
  for (const TrainingExample& example : examples) {
    extractFeatures(example, features);
    total = addCounts(total, static_cast<std::int64_t>(features.size()), "the number of features");
    for (std::size_t i = 0; i < features.size(); ++i) {
      const auto number = version.features->find(features[i]);
      // A number that this version does not know yet was given by training that is still going on.
      if (number && *number < version.vocabulary) numbers.push_back(*number);
    }
  }
  std::ranges::sort(numbers);
  std::vector<Occurrences> counted;
  for (const std::uint32_t number : numbers) {
    if (counted.empty() || counted.back().feature != number) counted.push_back({number, 0});
    ++counted.back().times;
  }
  return counted;
}

// By label number; labels without examples keep 0 and are not looked at.
std::vector<Sum> score(const Version& version, std::span<const TrainingExample> examples) {
  std::int64_t total = 0;
  const auto features = countFeatures(version, examples, total);
  std::vector<Sum> scores(version.examples.size());
  for (std::size_t label = 0; label < scores.size(); ++label) {
    if (version.examples[label] == 0) continue;
    const std::int64_t words = addCounts(version.words[label], version.vocabulary, "a label's denominator");
    const auto denominator = static_cast<double>(std::max<std::int64_t>(1, words));
    scores[label].addProduct(static_cast<double>(examples.size()),
                             std::log(static_cast<double>(version.examples[label])));
    scores[label].addProduct(-static_cast<double>(total), std::log(denominator));
  }
  for (const auto [feature, times] : features) {
    const Chunk& chunk = *version.chunks[feature / Chunk::kSize];
    for (const Posting& posting : chunk.postings[feature % Chunk::kSize]) {
      scores[posting.label].add(static_cast<double>(times) * logOfCount(posting.count));
    }
  }
  return scores;
}

}  // namespace

bool ModelSnapshot::empty() const {
  return labelCount() == 0;
}

std::size_t ModelSnapshot::labelCount() const {
  return version_->examples.size() - static_cast<std::size_t>(std::ranges::count(version_->examples, 0));
}

std::int64_t ModelSnapshot::vocabularySize() const {
  return version_->vocabulary;
}

std::vector<Prediction> ModelSnapshot::rank(std::span<const TrainingExample> examples,
                                            std::size_t limit) const {
  if (examples.empty()) return {};
  std::vector<Sum> scores = score(*version_, examples);
  std::vector<std::uint32_t> labels;
  labels.reserve(scores.size());
  for (std::uint32_t label = 0; label < scores.size(); ++label) {
    if (version_->examples[label] == 0) continue;
    scores[label].settle();
    labels.push_back(label);
  }
  if (labels.empty()) return {};

  const auto isLower = [&](std::uint32_t a, std::uint32_t b) {
    return std::pair(scores[a].high, scores[a].low) < std::pair(scores[b].high, scores[b].low);
  };
  const Sum best = scores[*std::ranges::max_element(labels, isLower)];
  std::vector<double> probabilities(scores.size());
  double sum = 0;
  for (const std::uint32_t label : labels) {
    const double below = (scores[label].high - best.high) + (scores[label].low - best.low);
    // Anything lower is 0 as a double.
    if (below > -750) sum += probabilities[label] = std::exp(below);
  }
  for (const std::uint32_t label : labels) probabilities[label] /= sum;

  const std::size_t kept = std::min(limit, labels.size());
  std::ranges::partial_sort(
      labels, labels.begin() + static_cast<std::ptrdiff_t>(kept), [&](std::uint32_t a, std::uint32_t b) {
        if (probabilities[a] != probabilities[b]) return probabilities[a] > probabilities[b];
        // Where both have vanished, the scores still tell them apart.
        if (probabilities[a] < std::numeric_limits<double>::min() && isLower(a, b) != isLower(b, a)) {
          return isLower(b, a);
        }
        return a < b;
      });
  std::vector<Prediction> predictions;
  predictions.reserve(kept);
  for (std::size_t i = 0; i < kept; ++i) {
    predictions.push_back({*version_->mailboxes[labels[i]], probabilities[labels[i]]});
  }
  return predictions;
}

std::vector<Prediction> ModelSnapshot::predict(std::span<const TrainingExample> examples, std::size_t limit,
                                               double threshold) const {
  auto predictions = rank(examples, limit);
  std::erase_if(predictions,
                [&](const Prediction& prediction) { return !(prediction.probability >= threshold); });
  return predictions;
}

}  // namespace quillbox
