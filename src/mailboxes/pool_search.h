// Searching the texts of a pool for those that match a query.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "mailboxes/compiled_query.h"
#include "mailboxes/text_pool.h"

namespace quillbox {

// A set of small numbers: texts of a pool, positions of an index.
class HitSet {
 public:
  explicit HitSet(std::size_t size) : words_(size / 64 + 1) {}

  void add(std::uint32_t i) { words_[i / 64] |= std::uint64_t{1} << (i % 64); }
  void remove(std::uint32_t i) { words_[i / 64] &= ~(std::uint64_t{1} << (i % 64)); }
  bool contains(std::uint32_t i) const { return (words_[i / 64] >> (i % 64) & 1U) != 0; }
  std::size_t count() const;
  void clear() { words_.assign(words_.size(), 0); }

  std::vector<std::uint64_t>& words() { return words_; }
  const std::vector<std::uint64_t>& words() const { return words_; }

  template <class Visit>
  void forEach(Visit&& visit) const {
    for (std::size_t w = 0; w < words_.size(); ++w) {
      for (std::uint64_t bits = words_[w]; bits != 0; bits &= bits - 1) {
        visit(static_cast<std::uint32_t>(w * 64 + static_cast<std::size_t>(std::countr_zero(bits))));
      }
    }
  }

 private:
  std::vector<std::uint64_t> words_;
};

// One query over one pool; both must outlive it. Not for several threads at once.
class PoolSearch {
 public:
  // The text as it was before it was brought into search form, for the few on which the pattern itself is
  // tried.
  using RawText = std::function<std::string_view(std::uint32_t)>;

  PoolSearch(const TextPool& pool, const CompiledQuery& query, RawText raw);

  // A text had to be tried on the pattern, and it is no regular expression, is too long, or needed too much
  // work: the query matches nothing, and what was found so far does not count.
  bool hasFailed() const { return pattern_ != nullptr && pattern_->hasFailed(); }

  bool matches(std::uint32_t i);

  // Adds to `found` every text that holds the literal pieces of the query in order, among those of `among`,
  // or, when that is null, of all for which `admit` leaves the bit set: it gets the number of a word and the
  // bits of the texts in question, and returns those to be searched. False when cancelled.
  using Admit = std::function<std::uint64_t(std::size_t word, std::uint64_t bits)>;
  bool findHolders(const HitSet* among, const Admit& admit, const std::atomic<bool>& cancelled,
                   HitSet& found) const;
  // Takes out of `holders` the texts that hold the pieces and do not match. False when cancelled.
  bool keepMatches(HitSet& holders, const std::atomic<bool>& cancelled);

 private:
  struct Needle {
    std::string_view bytes;
    std::size_t rareAt;  // the byte of it that the texts hold least often
  };
  class Walk;

  // Where a needle may begin and end: anywhere, or not inside of a character that folding made longer.
  enum class Boundaries { any, ofCharacters };

  // The needles occur in the text, which is one of the pool or begins one, in their order.
  bool occurInOrder(std::span<const Needle> needles, std::string_view text, Boundaries boundaries) const;
  // The same, and the last of them is the text's end. There is a needle.
  bool endsInLastNeedle(std::string_view text, Boundaries boundaries) const;
  bool matchesAcrossLines(std::string_view text) const;
  bool isRealMatch(std::uint32_t i);
  bool matchesPattern(std::uint32_t i);

  const TextPool& pool_;
  const CompiledQuery& query_;
  RawText raw_;
  std::vector<Needle> needles_;
  CharacterSet characters_;
  bool charactersDecide_ = false;
  bool maySplitExpansion_ = false;
  std::unique_ptr<PatternMatcher> pattern_;  // made when the first text needs it
};

}  // namespace quillbox
