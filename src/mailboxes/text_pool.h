// Many texts in search form, in one buffer, with what spares a search most of its reading.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxes/query_pattern.h"

namespace quillbox {

// Which characters occur: one bit for each letter and digit, shared bits for the rest.
class CharacterSet {
 public:
  constexpr CharacterSet() = default;
  static CharacterSet of(std::string_view searchForm);

  void add(CharacterSet other) { bits_ |= other.bits_; }
  bool contains(CharacterSet other) const { return (bits_ & other.bits_) == other.bits_; }

 private:
  std::uint64_t bits_ = 0;
};

// Whether the text holds a character at which the pattern's dot stops (LF, VT, FF, CR, NEL, LS, PS).
bool hasLineTerminator(std::string_view utf8);

// Filled once, then immutable and readable from any thread.
class TextPool {
 public:
  explicit TextPool(CaseMode mode) : mode_(mode) {}

  void reserve(std::size_t texts, std::size_t bytes);
  // Appends the search form of `raw`, which must live until the next call: texts that follow each other
  // mostly begin alike, and what they share is not folded again. False when the pool would exceed 4 GiB.
  bool add(std::string_view raw);
  // No more texts follow.
  void finish();

  std::uint32_t size() const { return static_cast<std::uint32_t>(characters_.size()); }
  std::string_view text(std::uint32_t i) const {
    return {bytes_.data() + starts_[i], std::size_t{starts_[i + 1]} - starts_[i]};
  }
  CharacterSet characters(std::uint32_t i) const { return characters_[i]; }
  // How many bytes text i begins with that text i - 1 begins with too; at most 255 are counted.
  std::uint32_t shared(std::uint32_t i) const { return shared_[i]; }

  // One bit a text: it holds a line terminator; it holds a character that case folding made longer.
  const std::vector<std::uint64_t>& withLineTerminator() const { return terminated_; }
  const std::vector<std::uint64_t>& withExpansion() const { return expanded_; }
  bool hasExpansion(std::uint32_t i) const { return (expanded_[i / 64] >> (i % 64) & 1U) != 0; }
  // Whether this byte of a text continues a character that folding made longer ("ß" as "ss").
  bool isInsideExpansion(const char* byte) const {
    const auto at = static_cast<std::size_t>(byte - bytes_.data());
    return at / 64 < inside_.size() && (inside_[at / 64] >> (at % 64) & 1U) != 0;
  }
  // Whether an occurrence of the needle can begin or end inside such a character at all.
  bool maySplitExpansion(std::string_view needle) const {
    return insideBytes_[static_cast<unsigned char>(needle.front())] ||
           beforeInsideBytes_[static_cast<unsigned char>(needle.back())];
  }
  // How often each byte occurs in what the texts do not share with the ones before them.
  const std::array<std::uint32_t, 256>& byteCounts() const { return byteCounts_; }

  std::size_t memoryBytes() const;

 private:
  std::size_t takeSharedPrefix(std::string_view raw);
  void appendFolded(std::string_view raw);
  void appendExpanding(std::string_view folded);

  CaseMode mode_;
  std::string bytes_;
  std::vector<std::uint32_t> starts_{0};  // size() + 1
  std::vector<CharacterSet> characters_;
  std::vector<std::uint8_t> shared_;
  std::vector<std::uint64_t> terminated_;
  std::vector<std::uint64_t> expanded_;
  std::vector<std::uint64_t> inside_;  // one bit a byte, as far as there are any
  std::bitset<256> insideBytes_;
  std::bitset<256> beforeInsideBytes_;
  std::array<std::uint32_t, 256> byteCounts_{};
  std::string_view lastRaw_;
};

}  // namespace quillbox
