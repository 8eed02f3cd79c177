// A mailbox list made searchable: the folded texts of all mailboxes in one buffer, in display order, with
// what tells most non-matches apart without reading the text. Built once for a list, its sort criteria and
// whether the case counts; a keystroke reads it only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/result.h"
#include "mailboxes/mailbox_list.h"
#include "mailboxes/query_pattern.h"
#include "model/mailbox_sort.h"

namespace quillbox {

enum class SearchField { path, name };

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

// Immutable; any thread.
class SearchIndex {
 public:
  // A place in display order. Mailboxes whose id an earlier one has are left out.
  using Position = std::uint32_t;

  // Fails with error_number::notAvailable when the texts together exceed 4 GiB.
  static Result<std::shared_ptr<const SearchIndex>> build(MailboxList list,
                                                          const std::vector<MailboxSort>& criteria,
                                                          CaseMode mode);

  const MailboxList& list() const { return list_; }
  CaseMode caseMode() const { return mode_; }
  Position size() const { return static_cast<Position>(characters_.size()); }
  // How many mailboxes of the list were left out because an earlier one has their id.
  std::size_t duplicates() const { return list_.size() - size(); }

  // The place in the list.
  std::uint32_t listIndex(Position position) const { return order_.empty() ? position : order_[position]; }
  const Mailbox& mailbox(Position position) const { return list_[listIndex(position)]; }
  std::optional<Position> find(std::string_view id) const;

  // Accounts are numbered from 0 in the order in which the list names them first.
  std::size_t accountCount() const { return accounts_.size(); }
  std::uint32_t account(Position position) const { return accountOf_[position]; }
  std::optional<std::uint32_t> accountNumber(std::string_view name) const;

  // The text in search form.
  std::string_view text(Position position, SearchField field) const;
  // The characters of path and name together.
  CharacterSet characters(Position position) const { return characters_[position]; }
  // Every name ends its path, so that characters() is exactly the path's.
  bool namesEndPaths() const { return extraNames_.empty(); }
  // The text needs a closer look than a search for literal pieces: it holds a line terminator or a character
  // that case folding made longer.
  bool isSpecial(Position position) const { return (special_[position / 64] >> (position % 64) & 1U) != 0; }
  // The same as one bit a position.
  const std::vector<std::uint64_t>& specialWords() const { return special_; }
  // Whether this byte of the buffer continues a character that folding made longer ("ß" as "ss").
  bool isInsideExpansion(const char* byte) const;
  // How often each byte occurs in all texts.
  const std::array<std::uint32_t, 256>& byteCounts() const { return byteCounts_; }

  // Heap memory beside the list itself.
  std::size_t memoryBytes() const;

 private:
  struct ExtraName {
    std::uint32_t begin;
    std::uint32_t end;
  };

  SearchIndex(MailboxList list, CaseMode mode) : list_(std::move(list)), mode_(mode) {}
  std::vector<std::uint32_t> numberIds();
  void numberAccounts();
  bool layOutTexts();
  std::size_t appendText(std::string_view raw);
  void appendExpanding(std::string_view folded);

  MailboxList list_;
  CaseMode mode_;
  std::string texts_;                      // paths in display order, then names that end no path
  std::vector<std::uint32_t> textStarts_;  // size() + 1 offsets
  std::vector<std::uint32_t> nameStarts_;  // into the path's text, or from the end of the paths on
  std::vector<ExtraName> extraNames_;      // ascending
  std::vector<CharacterSet> characters_;   // by position
  std::vector<std::uint32_t> accountOf_;   // by position
  std::vector<std::uint32_t> order_;       // position -> list index; empty: the same
  std::vector<std::uint32_t> positions_;   // list index -> position; empty: the same
  std::vector<std::uint32_t> idTable_;     // open addressing: list index + 1, 0 for free
  std::vector<std::uint64_t> special_;     // one bit a position
  std::vector<std::uint32_t> expansions_;  // offsets of bytes inside expansions, ascending
  std::unordered_map<std::string_view, std::uint32_t> accounts_;
  std::array<std::uint32_t, 256> byteCounts_{};
};

}  // namespace quillbox
