#include "mailboxes/list_mailbox_manager.h"

#include <algorithm>
#include <unordered_set>

namespace quillbox {

ListMailboxManager::ListMailboxManager(UserSettings& settings, Setting<std::vector<Mailbox>>& stored)
    : settings_(settings), stored_(stored) {
  ListMailboxManager::load();
  changes_ = stored_.observe([this](const std::vector<Mailbox>&) { load(); });
}

void ListMailboxManager::load() {
  std::vector<Mailbox> list;
  std::unordered_set<std::string_view> ids;
  for (const auto& mailbox : stored_.get()) {
    if (ids.insert(mailbox.id).second) list.push_back(mailbox);
  }
  mailboxes.set(std::move(list));
}

void ListMailboxManager::refresh() {
  settings_.synchronize();
  load();
}

Result<bool> ListMailboxManager::change(const std::function<bool(std::vector<Mailbox>&)>& edit) {
  for (;;) {
    refresh();
    auto list = mailboxes.get();
    if (!edit(list)) return false;
    auto saved = save(std::move(list), Overwrite::unchangedOnly);
    // Each round that is lost is one that another process has won.
    if (!saved || *saved) return saved;
  }
}

Result<bool> ListMailboxManager::add(const Mailbox& mailbox) {
  return change([&](std::vector<Mailbox>& list) {
    if (std::ranges::find(list, mailbox.id, &Mailbox::id) != list.end()) return false;
    list.push_back(mailbox);
    return true;
  });
}

Result<bool> ListMailboxManager::remove(const Mailbox& mailbox) {
  return change([&](std::vector<Mailbox>& list) {
    return std::erase_if(list, [&](const Mailbox& entry) { return entry.id == mailbox.id; }) > 0;
  });
}

Result<bool> ListMailboxManager::save(std::vector<Mailbox> list, Overwrite overwrite) {
  if (overwrite == Overwrite::always) {
    if (auto written = stored_.set(list); !written) return forward(written);
  } else {
    auto written = stored_.setIfUnchanged(list);
    if (!written || !*written) return written;
  }
  load();
  return true;
}

Result<void> ListMailboxManager::clear() {
  if (auto saved = save({}, Overwrite::always); !saved) return forward(saved);
  return {};
}

bool ListMailboxManager::contains(std::string_view id) const {
  return std::ranges::find(mailboxes.get(), id, &Mailbox::id) != mailboxes.get().end();
}

std::vector<SearchIndex::Position> ListMailboxManager::prepare(const SearchIndex& allMailboxes) const {
  std::vector<SearchIndex::Position> positions;
  for (const auto& mailbox : mailboxes.get()) {
    if (const auto position = allMailboxes.find(mailbox.id)) positions.push_back(*position);
  }
  return positions;
}

}  // namespace quillbox
