// The parts of one version of the suggestion model, shared between versions until one of them writes.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/mailbox.h"

namespace quillbox::model_detail {

// Numbers for features, in the order in which they came. All versions between two resets share one table: a
// version knows the numbers below its vocabulary size and takes the others for unseen. One writer; readers at
// any time, who wait at most for the insertion of one feature into one shard of the table.
class FeatureTable {
 public:
  std::optional<std::uint32_t> find(std::string_view feature) const;
  // The writer's. `added` tells whether the feature is new.
  std::uint32_t intern(std::string_view feature);
  std::uint32_t size() const { return size_; }  // the writer's

 private:
  struct Shard {
    mutable std::shared_mutex mutex;
    std::unordered_map<std::string_view, std::uint32_t> numbers;
    std::deque<std::string> texts;  // what the keys point into
  };
  static constexpr std::size_t kShards = 64;

  static std::size_t shardOf(std::string_view feature);

  std::array<Shard, kShards> shards_;
  std::uint32_t size_ = 0;
};

struct Posting {
  std::uint32_t label = 0;
  std::int64_t count = 0;
};

// The labels in which each of 64 neighbouring features occurred, sorted by label. Written in place only by
// the version that made it.
struct Chunk {
  static constexpr std::size_t kSize = 64;

  std::uint64_t generation = 0;
  std::array<std::vector<Posting>, kSize> postings;
};

struct Version {
  std::uint64_t generation = 0;
  std::shared_ptr<FeatureTable> features;
  std::uint32_t vocabulary = 0;
  // By label number. A label without examples (after a reset) is not scored, but its words count again later.
  std::vector<std::int64_t> examples;
  std::vector<std::int64_t> words;
  std::vector<std::shared_ptr<const Mailbox>> mailboxes;
  std::vector<std::shared_ptr<Chunk>> chunks;
};

}  // namespace quillbox::model_detail
