#include "mailboxes/display_order.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/text.h"

namespace quillbox {
namespace {

// Collation keys of many texts in one buffer; comparing two mostly takes their first eight bytes.
class KeyTable {
 public:
  void reserve(std::size_t texts) { entries_.reserve(texts); }

  void add(std::string_view text) {
    const std::string key = text::collationKey(text);
    entries_.push_back(
        {prefixOf(key), static_cast<std::uint32_t>(entries_.size()), bytes_.size(), key.size()});
    bytes_ += key;
  }

  // The rank of each text in the order in which they were added; equal keys share one. Ends the table.
  std::vector<std::uint32_t> ranks() {
    std::ranges::sort(entries_, [this](const Entry& a, const Entry& b) { return compare(a, b) < 0; });
    std::vector<std::uint32_t> ranks(entries_.size());
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (i > 0 && compare(entries_[i - 1], entries_[i]) != 0) ++rank;
      ranks[entries_[i].number] = rank;
    }
    return ranks;
  }

 private:
  struct Entry {
    std::uint64_t prefix;
    std::uint32_t number;
    std::size_t offset;
    std::size_t length;
  };

  static std::uint64_t prefixOf(std::string_view key) {
    std::uint64_t prefix = 0;
    for (std::size_t i = 0; i < 8; ++i) {
      prefix = prefix << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
    }
    return prefix;
  }

  int compare(const Entry& a, const Entry& b) const {
    if (a.prefix != b.prefix) return a.prefix < b.prefix ? -1 : 1;
    const std::string_view all = bytes_;
    return all.substr(a.offset, a.length).compare(all.substr(b.offset, b.length));
  }

  std::vector<Entry> entries_;
  std::string bytes_;
};

// By index of `kept`.
std::vector<std::uint32_t> ranksBy(MailboxSortPathAppEnum what, const MailboxList& list,
                                   const std::vector<std::uint32_t>& kept) {
  KeyTable keys;
  if (what == MailboxSortPathAppEnum::mailbox) {
    keys.reserve(kept.size());
    for (const auto i : kept) keys.add(list[i].path);
    return keys.ranks();
  }
  // Accounts are few.
  std::unordered_map<std::string_view, std::uint32_t> numbers;
  std::vector<std::uint32_t> accountOf;
  accountOf.reserve(kept.size());
  for (const auto i : kept) {
    const auto [place, added] =
        numbers.try_emplace(list[i].account, static_cast<std::uint32_t>(numbers.size()));
    if (added) keys.add(list[i].account);
    accountOf.push_back(place->second);
  }
  const auto ranks = keys.ranks();
  for (auto& account : accountOf) account = ranks[account];
  return accountOf;
}

}  // namespace

std::vector<std::uint32_t> displayOrder(const MailboxList& list, const std::vector<MailboxSort>& criteria,
                                        std::vector<std::uint32_t> kept) {
  // A second criterion over the same text only ever meets ties, so at most two have a say.
  std::vector<MailboxSort> deciding;
  for (const auto& criterion : criteria) {
    if (std::ranges::find(deciding, criterion.path, &MailboxSort::path) == deciding.end()) {
      deciding.push_back(criterion);
    }
  }
  if (deciding.empty()) return kept;

  struct Entry {
    std::uint64_t key = 0;
    std::uint32_t index = 0;
    auto operator<=>(const Entry&) const = default;  // equal keys stay in list order
  };
  std::vector<Entry> entries(kept.size());
  for (std::size_t i = 0; i < kept.size(); ++i) entries[i].index = kept[i];
  for (const auto& criterion : deciding) {
    const auto ranks = ranksBy(criterion.path, list, kept);
    for (std::size_t i = 0; i < kept.size(); ++i) {
      const std::uint32_t rank = criterion.order == SortOrder::forward ? ranks[i] : ~ranks[i];
      entries[i].key = entries[i].key << 32 | rank;
    }
  }
  std::ranges::sort(entries);
  for (std::size_t i = 0; i < kept.size(); ++i) kept[i] = entries[i].index;
  return kept;
}

}  // namespace quillbox
