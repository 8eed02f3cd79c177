// Rows of mailboxes that refer to a shared list.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "model/mailbox_list.h"

namespace quillbox {

// Mailboxes in display order, as indices into a list. Cheap to copy, immutable, readable from any thread.
class MailboxRows {
 public:
  using Indices = std::vector<std::uint32_t>;

  MailboxRows() = default;
  // Every mailbox of the list, in its order.
  explicit MailboxRows(MailboxList list) : list_(std::move(list)) {}
  // An index of list.size() or above means the mailbox at that distance behind the list's end in `others`.
  MailboxRows(MailboxList list, Indices indices, MailboxList others = {})
      : list_(std::move(list)),
        others_(std::move(others)),
        indices_(std::make_shared<const Indices>(std::move(indices))) {}

  std::size_t size() const { return indices_ ? indices_->size() : list_.size(); }
  bool empty() const { return size() == 0; }
  // The index into list(), or beyond its end for a mailbox that the list does not hold.
  std::uint32_t index(std::size_t row) const {
    return indices_ ? (*indices_)[row] : static_cast<std::uint32_t>(row);
  }
  const Mailbox& operator[](std::size_t row) const {
    const std::uint32_t i = index(row);
    return i < list_.size() ? list_[i] : others_[i - list_.size()];
  }
  const MailboxList& list() const { return list_; }

  // The row of the mailbox with this id, if it is shown. Walks the rows.
  std::optional<std::size_t> rowOf(std::string_view id) const {
    for (std::size_t row = 0; row < size(); ++row) {
      if ((*this)[row].id == id) return row;
    }
    return std::nullopt;
  }

  // The row that refers to this index. Much faster than by id: it reads no mailbox.
  std::optional<std::size_t> rowOfIndex(std::uint32_t index) const {
    if (!indices_) return index < size() ? std::optional<std::size_t>(index) : std::nullopt;
    const auto place = std::ranges::find(*indices_, index);
    if (place == indices_->end()) return std::nullopt;
    return static_cast<std::size_t>(place - indices_->begin());
  }

  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Mailbox;
    using difference_type = std::ptrdiff_t;
    using pointer = const Mailbox*;
    using reference = const Mailbox&;

    Iterator() = default;
    Iterator(const MailboxRows* rows, std::size_t row) : rows_(rows), row_(row) {}
    reference operator*() const { return (*rows_)[row_]; }
    pointer operator->() const { return &(*rows_)[row_]; }
    Iterator& operator++() {
      ++row_;
      return *this;
    }
    Iterator operator++(int) {
      const Iterator before = *this;
      ++row_;
      return before;
    }
    bool operator==(const Iterator& other) const { return row_ == other.row_; }

   private:
    const MailboxRows* rows_ = nullptr;
    std::size_t row_ = 0;
  };
  Iterator begin() const { return {this, 0}; }
  Iterator end() const { return {this, size()}; }

  // Whether both show the same rows of the same list.
  bool operator==(const MailboxRows& other) const {
    if (list_ != other.list_ || size() != other.size()) return false;
    if (indices_ == other.indices_ && others_ == other.others_) return true;
    for (std::size_t row = 0; row < size(); ++row) {
      const bool foreign = index(row) >= list_.size();
      if (index(row) != other.index(row) || (foreign && (*this)[row] != other[row])) return false;
    }
    return true;
  }

 private:
  MailboxList list_;
  MailboxList others_;
  std::shared_ptr<const Indices> indices_;  // none: the list as it stands
};

}  // namespace quillbox
