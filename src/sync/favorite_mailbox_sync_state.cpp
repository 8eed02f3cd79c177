#include "sync/favorite_mailbox_sync_state.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <tuple>
#include <unordered_set>

#include "base/result.h"

namespace quillbox {
namespace {

using Entry = FavoriteMailboxSyncState::Entry;

// The later revision wins, then the tombstone, then the greater name; a full tie keeps the local entry.
bool replaces(const Entry& remote, const Entry& local) {
  return std::tie(local.revision, local.removed, local.mailbox.name) <
         std::tie(remote.revision, remote.removed, remote.mailbox.name);
}

}  // namespace

std::int64_t FavoriteMailboxSyncState::largestCounter() const {
  std::int64_t largest = std::max<std::int64_t>(0, orderRevision.counter);
  for (const auto& [id, entry] : entries) largest = std::max(largest, entry.revision.counter);
  return largest;
}

void FavoriteMailboxSyncState::recordEdit(const std::vector<Mailbox>& newList,
                                          const std::vector<Mailbox>& previousList,
                                          const std::string& writer) {
  const std::int64_t latest = largestCounter();
  if (latest == std::numeric_limits<std::int64_t>::max())
    fatal(
        "The revision counter of the synced favourites has reached its limit; docs/SYNC.md says how to reset "
        "it");
  const Revision revision{latest + 1, writer};

  std::vector<std::string> newOrder;
  newOrder.reserve(newList.size());
  std::unordered_set<std::string_view> kept;
  for (const Mailbox& mailbox : newList) {
    newOrder.push_back(mailbox.id);
    kept.insert(mailbox.id);
    const auto [entry, isNew] = entries.try_emplace(mailbox.id);
    if (isNew || entry->second.removed || entry->second.mailbox != mailbox)
      entry->second = {mailbox, false, revision};
  }
  for (const Mailbox& mailbox : previousList) {
    if (kept.contains(mailbox.id)) continue;
    Entry& entry = entries.try_emplace(mailbox.id, Entry{mailbox, true, revision}).first->second;
    entry.removed = true;
    entry.revision = revision;
  }
  if (newOrder != order) {
    order = std::move(newOrder);
    orderRevision = revision;
  }
}

void FavoriteMailboxSyncState::merge(const FavoriteMailboxSyncState& remote) {
  if (&remote == this) return;
  auto local = entries.begin();
  for (const auto& [id, entry] : remote.entries) {
    while (local != entries.end() && local->first < id) ++local;
    if (local == entries.end() || local->first != id) {
      entries.emplace_hint(local, id, entry);
    } else if (replaces(entry, local->second)) {
      local->second = entry;
    }
  }
  if (std::tie(orderRevision, order) < std::tie(remote.orderRevision, remote.order)) {
    order = remote.order;
    orderRevision = remote.orderRevision;
  }
}

void FavoriteMailboxSyncState::seed(const std::vector<Mailbox>& list) {
  for (const Mailbox& mailbox : list) {
    if (entries.try_emplace(mailbox.id, Entry{mailbox, false, {}}).second) order.push_back(mailbox.id);
  }
}

std::vector<Mailbox> FavoriteMailboxSyncState::visibleList() const {
  std::vector<Mailbox> list;
  std::unordered_set<std::string_view> shown;
  const auto show = [&](const std::string& id, const Entry& entry) {
    if (!entry.removed && shown.insert(id).second) list.push_back(entry.mailbox);
  };
  for (const std::string& id : order) {
    if (const auto entry = entries.find(id); entry != entries.end()) show(entry->first, entry->second);
  }
  for (const auto& [id, entry] : entries) show(id, entry);
  return list;
}

bool FavoriteMailboxSyncState::isValid() const {
  return version == kVersion && orderRevision.counter >= 0 &&
         std::ranges::all_of(entries, [](const auto& item) { return item.first == item.second.mailbox.id; });
}

}  // namespace quillbox
