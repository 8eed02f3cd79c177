#include "mailboxes/search_index.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>

#include "base/error_numbers.h"
#include "mailboxes/display_order.h"

namespace quillbox {
namespace {

template <class T>
std::size_t heapBytes(const std::vector<T>& vector) {
  return vector.capacity() * sizeof(T);
}

}  // namespace

Result<std::shared_ptr<const SearchIndex>> SearchIndex::build(MailboxList list,
                                                              const std::vector<MailboxSort>& criteria,
                                                              CaseMode mode) {
  constexpr auto tooLarge = "The mailbox list is too large to be searched.";
  if (list.size() >= std::numeric_limits<std::uint32_t>::max() / 4) {
    return fail(error_number::notAvailable, tooLarge);
  }
  std::shared_ptr<SearchIndex> index(new SearchIndex(std::move(list), mode));
  auto kept = index->numberIds();
  index->size_ = static_cast<Position>(kept.size());
  if (!criteria.empty() || kept.size() != index->list_.size()) {
    index->order_ = displayOrder(index->list_, criteria, std::move(kept));
    index->positions_.resize(index->list_.size(), std::numeric_limits<std::uint32_t>::max());
    for (Position p = 0; p < index->order_.size(); ++p) index->positions_[index->order_[p]] = p;
  }
  index->numberAccounts();
  if (!index->layOutPaths() || !index->layOutNames()) return fail(error_number::notAvailable, tooLarge);
  return index;
}

std::vector<std::uint32_t> SearchIndex::numberIds() {
  idTable_.assign(std::bit_ceil(std::max<std::size_t>(list_.size() * 3 / 2, 8)), 0);
  const std::size_t mask = idTable_.size() - 1;
  std::vector<std::uint32_t> kept;
  kept.reserve(list_.size());
  for (std::uint32_t i = 0; i < list_.size(); ++i) {
    std::size_t slot = std::hash<std::string_view>{}(list_[i].id) & mask;
    while (idTable_[slot] != 0 && list_[idTable_[slot] - 1].id != list_[i].id) slot = (slot + 1) & mask;
    if (idTable_[slot] != 0) continue;
    idTable_[slot] = i + 1;
    kept.push_back(i);
  }
  return kept;
}

std::optional<SearchIndex::Position> SearchIndex::find(std::string_view id) const {
  if (idTable_.empty()) return std::nullopt;
  const std::size_t mask = idTable_.size() - 1;
  for (std::size_t slot = std::hash<std::string_view>{}(id)&mask; idTable_[slot] != 0;
       slot = (slot + 1) & mask) {
    const std::uint32_t i = idTable_[slot] - 1;
    if (list_[i].id == id) return positions_.empty() ? i : positions_[i];
  }
  return std::nullopt;
}

void SearchIndex::numberAccounts() {
  std::vector<std::uint32_t> byIndex;
  byIndex.reserve(list_.size());
  std::string_view last;
  std::uint32_t number = 0;
  for (const auto& mailbox : list_) {
    if (byIndex.empty() || mailbox.account != last) {
      last = mailbox.account;
      number = accounts_.try_emplace(last, static_cast<std::uint32_t>(accounts_.size())).first->second;
    }
    byIndex.push_back(number);
  }
  if (order_.empty()) {
    accountOf_ = std::move(byIndex);
    return;
  }
  accountOf_.reserve(order_.size());
  for (const auto i : order_) accountOf_.push_back(byIndex[i]);
}

std::optional<std::uint32_t> SearchIndex::accountNumber(std::string_view name) const {
  const auto place = accounts_.find(name);
  return place == accounts_.end() ? std::nullopt : std::optional(place->second);
}

bool SearchIndex::layOutPaths() {
  std::size_t bytes = 0;
  for (const auto& mailbox : list_) bytes += mailbox.path.size();
  paths_.reserve(size_, bytes + bytes / 64);
  for (Position p = 0; p < size_; ++p) {
    if (!paths_.add(mailbox(p).path)) return false;
  }
  paths_.finish();
  return true;
}

bool SearchIndex::layOutNames() {
  // Open addressing again, for the time of building: name + 1, 0 for free.
  std::vector<std::uint32_t> table(std::bit_ceil(std::max<std::size_t>(std::size_t{size_} * 3 / 2, 8)));
  const std::size_t mask = table.size() - 1;
  nameOf_.reserve(size_);
  for (Position p = 0; p < size_; ++p) {
    const std::string& name = mailbox(p).name;
    std::size_t slot = std::hash<std::string_view>{}(name)&mask;
    while (table[slot] != 0 && rawName(table[slot] - 1) != name) slot = (slot + 1) & mask;
    if (table[slot] == 0) {
      if (!names_.add(name)) return false;
      nameSource_.push_back(listIndex(p));
      table[slot] = names_.size();
    }
    nameOf_.push_back(table[slot] - 1);
  }
  names_.finish();
  nameSource_.shrink_to_fit();
  return true;
}

std::size_t SearchIndex::memoryBytes() const {
  return paths_.memoryBytes() + names_.memoryBytes() + heapBytes(nameOf_) + heapBytes(nameSource_) +
         heapBytes(accountOf_) + heapBytes(order_) + heapBytes(positions_) + heapBytes(idTable_);
}

}  // namespace quillbox
