// A mailbox list made searchable: the folded texts of all mailboxes in one buffer, in display order, with
// what tells most non-matches apart without reading the text. Built once for a list, its sort criteria and
// whether the case counts; a keystroke reads it only.
#pragma once

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
#include "mailboxes/text_pool.h"
#include "model/mailbox_sort.h"

namespace quillbox {

enum class SearchField { path, name };

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
  Position size() const { return size_; }
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

  // The paths in search form, by position.
  const TextPool& paths() const { return paths_; }
  // The different names, and which one each mailbox has.
  const TextPool& names() const { return names_; }
  std::uint32_t name(Position position) const { return nameOf_[position]; }
  std::string_view rawName(std::uint32_t name) const { return list_[nameSource_[name]].name; }

  // Heap memory beside the list itself.
  std::size_t memoryBytes() const;

 private:
  SearchIndex(MailboxList list, CaseMode mode)
      : list_(std::move(list)), mode_(mode), paths_(mode), names_(mode) {}
  std::vector<std::uint32_t> numberIds();
  void numberAccounts();
  bool layOutPaths();
  bool layOutNames();

  MailboxList list_;
  CaseMode mode_;
  Position size_ = 0;
  TextPool paths_;
  TextPool names_;
  std::vector<std::uint32_t> nameOf_;      // by position
  std::vector<std::uint32_t> nameSource_;  // by name: the list index of a mailbox that has it
  std::vector<std::uint32_t> accountOf_;   // by position
  std::vector<std::uint32_t> order_;       // position -> list index; empty: the same
  std::vector<std::uint32_t> positions_;   // list index -> position; empty: the same
  std::vector<std::uint32_t> idTable_;     // open addressing: list index + 1, 0 for free
  std::unordered_map<std::string_view, std::uint32_t> accounts_;
};

}  // namespace quillbox
