#include "mailboxes/favorite_mailbox_manager.h"

#include <utility>

namespace quillbox {

FavoriteMailboxManager::FavoriteMailboxManager(UserSettings& settings, NotificationCenter& notifications,
                                               std::function<std::unique_ptr<FavoriteMailboxSync>()> makeSync)
    : ListMailboxManager(settings, settings.favoriteMailboxes),
      notifications_(notifications),
      makeSync_(std::move(makeSync)) {
  switched_ = settings.enableFavoritesSync.observe([this](bool enabled) {
    if (enabled) {
      synchronize();
    } else {
      wasSyncEnabled_ = false;
    }
  });
  updated_ = notifications_.observe<NoObject>(notification::iCloudSyncDidUpdateToLatest,
                                              [this](const NoObject&) { load(); });
}

FavoriteMailboxSync* FavoriteMailboxManager::sync() {
  if (!settings_.enableFavoritesSync.get()) return nullptr;
  if (!sync_ && makeSync_) sync_ = makeSync_();
  return sync_.get();
}

void FavoriteMailboxManager::refresh() {
  ListMailboxManager::refresh();
  if (sync() != nullptr && !wasSyncEnabled_) synchronize();
}

Result<bool> FavoriteMailboxManager::save(std::vector<Mailbox> list, Overwrite overwrite) {
  const auto previous = mailboxes.get();
  auto written = ListMailboxManager::save(std::move(list), overwrite);
  if (!written || !*written) return written;
  if (auto* const replica = sync()) {
    replica->recordLocalEdit(mailboxes.get(), previous);
    synchronize();
  }
  return true;
}

void FavoriteMailboxManager::synchronize() {
  if (std::exchange(isSynchronizing_, true)) return;
  if (auto* const replica = sync()) {
    wasSyncEnabled_ = true;
    // An error of writing was logged; the list stays as it is and the next step tries again. An edit by
    // another process meanwhile is merged too.
    const auto mergeAndSave = [&] {
      return ListMailboxManager::save(replica->loadMergeAndSave(mailboxes.get()), Overwrite::unchangedOnly);
    };
    for (auto saved = mergeAndSave(); saved && !*saved;) saved = mergeAndSave();
  }
  load();
  isSynchronizing_ = false;
  notifications_.post(notification::iCloudSyncDidUpdateToLatest);
}

}  // namespace quillbox
