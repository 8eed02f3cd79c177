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

Result<void> FavoriteMailboxManager::save(std::vector<Mailbox> list) {
  const auto previous = mailboxes.get();
  if (auto written = ListMailboxManager::save(std::move(list)); !written) return written;
  if (auto* const replica = sync()) {
    replica->recordLocalEdit(mailboxes.get(), previous);
    synchronize();
  }
  return {};
}

void FavoriteMailboxManager::synchronize() {
  if (std::exchange(isSynchronizing_, true)) return;
  if (auto* const replica = sync()) {
    wasSyncEnabled_ = true;
    // An error of writing was logged; the list stays as it is and the next step tries again.
    (void)ListMailboxManager::save(replica->loadMergeAndSave(mailboxes.get()));
  }
  load();
  isSynchronizing_ = false;
  notifications_.post(notification::iCloudSyncDidUpdateToLatest);
}

}  // namespace quillbox
