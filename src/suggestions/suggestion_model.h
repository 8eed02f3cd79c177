// The naive-Bayes model that proposes a mailbox for messages, learnt from messages filed before.
//
// For the selected messages together, a mailbox path L with n(L) examples, w(L) feature occurrences and c(f,
// L) occurrences of feature f scores
//   sum over messages of  ln n(L) + sum over their features f of  ln((c(f, L) + 1) / max(1, w(L) + V))
// where V is the number of features ever seen; the scores' exponentials, scaled to the sum 1, are the
// probabilities.
//
// Scoring visits only what was counted: every label starts from ln n(L) and its denominator alone, and each
// feature then adds its ln(c + 1) to the labels in its list.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/mailbox.h"
#include "suggestions/training_example.h"

namespace quillbox {

struct Prediction {
  Mailbox mailbox;
  double probability = 0;

  bool operator==(const Prediction&) const = default;
};

// The mailbox that an example is filed in, as the model returns it.
Mailbox mailboxOf(const TrainingExample& example);

// a + b; broken invariant on overflow, naming `what`.
std::int64_t addCounts(std::int64_t a, std::int64_t b, std::string_view what);

namespace model_detail {
class FeatureTable;
struct Chunk;
struct Version;
}  // namespace model_detail

// The model as it was at one moment. Copying shares it; any thread.
class ModelSnapshot {
 public:
  // No mailbox has an example.
  bool empty() const;
  std::size_t labelCount() const;  // mailboxes with examples
  std::int64_t vocabularySize() const;

  // The most probable mailboxes for the examples together, best first, at most `limit` of them; mailboxes of
  // equal probability in the order in which they were first trained. Empty without examples and without
  // labels.
  std::vector<Prediction> rank(std::span<const TrainingExample> examples, std::size_t limit) const;
  // rank(), without what is below `threshold`.
  std::vector<Prediction> predict(std::span<const TrainingExample> examples, std::size_t limit,
                                  double threshold) const;

 private:
  friend class SuggestionModel;
  explicit ModelSnapshot(std::shared_ptr<const model_detail::Version> version)
      : version_(std::move(version)) {}
  std::shared_ptr<const model_detail::Version> version_;
};

// train() and reset() belong to one thread at a time; snapshot() to any thread at any time, and waits for
// neither.
class SuggestionModel {
 public:
  SuggestionModel();
  ~SuggestionModel();
  SuggestionModel(const SuggestionModel&) = delete;
  SuggestionModel& operator=(const SuggestionModel&) = delete;

  // Copies one pointer. Sees whole train() calls only.
  ModelSnapshot snapshot() const;

  void train(std::span<const TrainingExample> examples);
  // Forgets examples, features and mailboxes. The number of feature occurrences of each label stays and adds
  // to what is trained later.
  void reset();

 private:
  std::shared_ptr<const model_detail::Version> published() const;
  void publish(std::shared_ptr<const model_detail::Version> version);

  mutable std::mutex mutex_;  // guards current_, held for a pointer copy
  std::shared_ptr<const model_detail::Version> current_;
  std::uint64_t generation_ = 0;
  // The writer's own: a label keeps its number through reset().
  std::unordered_map<std::string, std::uint32_t> labels_;
};

}  // namespace quillbox
