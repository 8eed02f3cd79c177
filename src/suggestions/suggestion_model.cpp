#include "suggestions/suggestion_model.h"

#include <algorithm>
#include <functional>
#include <limits>

#include <fmt/format.h>

#include "base/result.h"
#include "suggestions/features.h"
#include "suggestions/model_version.h"

namespace quillbox {
namespace model_detail {

std::size_t FeatureTable::shardOf(std::string_view feature) {
  // The low bits choose the bucket inside the shard.
  return std::hash<std::string_view>{}(feature) >> (std::numeric_limits<std::size_t>::digits - 6);
}

std::optional<std::uint32_t> FeatureTable::find(std::string_view feature) const {
  const Shard& shard = shards_[shardOf(feature)];
  const std::shared_lock lock(shard.mutex);
  const auto found = shard.numbers.find(feature);
  if (found == shard.numbers.end()) return std::nullopt;
  return found->second;
}

std::uint32_t FeatureTable::intern(std::string_view feature) {
  Shard& shard = shards_[shardOf(feature)];
  // Only this thread writes, so reading needs no lock.
  if (const auto found = shard.numbers.find(feature); found != shard.numbers.end()) return found->second;
  if (size_ == std::numeric_limits<std::uint32_t>::max()) fatal("the suggestion model's vocabulary is full");
  const std::unique_lock lock(shard.mutex);
  shard.numbers.emplace(shard.texts.emplace_back(feature), size_);
  return size_++;
}

}  // namespace model_detail

namespace {

using model_detail::Chunk;
using model_detail::FeatureTable;
using model_detail::Posting;
using model_detail::Version;

constexpr std::uint32_t kNoLabel = std::numeric_limits<std::uint32_t>::max();

std::vector<Posting>& writablePostings(Version& version, std::uint32_t feature) {
  const std::size_t index = feature / Chunk::kSize;
  while (version.chunks.size() <= index) {
    version.chunks.push_back(std::make_shared<Chunk>());
    version.chunks.back()->generation = version.generation;
  }
  auto& chunk = version.chunks[index];
  if (chunk->generation != version.generation) {
    chunk = std::make_shared<Chunk>(*chunk);
    chunk->generation = version.generation;
  }
  return chunk->postings[feature % Chunk::kSize];
}

void countOccurrence(Version& version, std::uint32_t label, std::uint32_t feature) {
  auto& postings = writablePostings(version, feature);
  auto place = std::ranges::lower_bound(postings, label, {}, &Posting::label);
  if (place == postings.end() || place->label != label) place = postings.insert(place, {label, 0});
  place->count = addCounts(place->count, 1, "a feature's count");
  version.words[label] = addCounts(version.words[label], 1, "a label's word count");
}

}  // namespace

Mailbox mailboxOf(const TrainingExample& example) {
  const std::string& path = example.mailboxPath;
  std::string name = path;
  if (const std::size_t last = path.find_last_not_of('/'); last != std::string::npos) {
    const std::size_t slash = path.find_last_of('/', last);
    const std::size_t first = slash == std::string::npos ? 0 : slash + 1;
    name = path.substr(first, last + 1 - first);
  }
  return Mailbox::make(std::move(name), path, example.mailboxAccount);
}

std::int64_t addCounts(std::int64_t a, std::int64_t b, std::string_view what) {
  if (b > 0 ? a > std::numeric_limits<std::int64_t>::max() - b
            : a < std::numeric_limits<std::int64_t>::min() - b) {
    fatal(fmt::format("{} overflows", what));
  }
  return a + b;
}

SuggestionModel::SuggestionModel() {
  auto version = std::make_shared<Version>();
  version->features = std::make_shared<FeatureTable>();
  current_ = std::move(version);
}

SuggestionModel::~SuggestionModel() = default;

std::shared_ptr<const Version> SuggestionModel::published() const {
  const std::scoped_lock lock(mutex_);
  return current_;
}

void SuggestionModel::publish(std::shared_ptr<const Version> version) {
  {
    const std::scoped_lock lock(mutex_);
    current_.swap(version);
  }
  // The old version, when nobody else holds it, is taken apart here, outside the lock.
}

ModelSnapshot SuggestionModel::snapshot() const {
  return ModelSnapshot(published());
}

void SuggestionModel::train(std::span<const TrainingExample> examples) {
  if (examples.empty()) return;
  auto version = std::make_shared<Version>(*published());
  version->generation = ++generation_;
  FeatureList features;
  for (const TrainingExample& example : examples) {
    const std::size_t known = version->examples.size();
    if (known == kNoLabel) fatal("the suggestion model has no room for another label");
    const auto [place, added] = labels_.try_emplace(example.mailboxPath, static_cast<std::uint32_t>(known));
    if (added) {
      version->examples.push_back(0);
      version->words.push_back(0);
      version->mailboxes.push_back(nullptr);
    }
    const std::uint32_t label = place->second;
    version->examples[label] = addCounts(version->examples[label], 1, "a label's number of examples");
    extractFeatures(example, features);
    for (std::size_t i = 0; i < features.size(); ++i) {
      countOccurrence(*version, label, version->features->intern(features[i]));
    }
    // The path is the label, so only the account can differ.
    auto& mailbox = version->mailboxes[label];
    if (!mailbox || mailbox->account != example.mailboxAccount) {
      mailbox = std::make_shared<const Mailbox>(mailboxOf(example));
    }
  }
  version->vocabulary = version->features->size();
  publish(std::move(version));
}

void SuggestionModel::reset() {
  const auto old = published();
  auto version = std::make_shared<Version>();
  version->generation = ++generation_;
  version->features = std::make_shared<FeatureTable>();
  version->examples.assign(old->examples.size(), 0);
  version->words = old->words;
  version->mailboxes.assign(old->mailboxes.size(), nullptr);
  publish(std::move(version));
}

}  // namespace quillbox
