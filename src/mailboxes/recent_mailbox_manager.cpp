#include "mailboxes/recent_mailbox_manager.h"

#include <algorithm>

namespace quillbox {

Result<bool> RecentMailboxManager::add(const Mailbox& mailbox) {
  if (directory_ != nullptr && !directory_->everyMailbox().empty() &&
      directory_->findMailbox(mailbox.id) == nullptr) {
    return false;
  }
  return change([&](std::vector<Mailbox>& list) {
    if (std::erase_if(list, [&](const Mailbox& entry) { return entry.id == mailbox.id; }) == 0 &&
        list.size() >= capacity) {
      list.erase(list.begin());
    }
    list.push_back(mailbox);
    // A list from elsewhere may be longer.
    if (list.size() > capacity) list.erase(list.begin(), list.end() - capacity);
    return true;
  });
}

std::vector<SearchIndex::Position> RecentMailboxManager::prepare(const SearchIndex& allMailboxes) const {
  auto positions = ListMailboxManager::prepare(allMailboxes);
  std::ranges::reverse(positions);
  return positions;
}

}  // namespace quillbox
