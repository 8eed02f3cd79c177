#include "sync/favorite_mailbox_sync.h"

#include <utility>

namespace quillbox {

FavoriteMailboxSync::FavoriteMailboxSync(Ports ports) : ports_(std::move(ports)), cloud_(ports_.cloud) {}

std::unique_ptr<FileLock> FavoriteMailboxSync::begin() {
  std::unique_ptr<FileLock> lock;
  if (ports_.lock) {
    // Without the lock this process still loses nothing of its own, so the step is made all the same.
    if (auto taken = ports_.lock()) {
      lock = *std::move(taken);
    } else {
      ports_.log.error("Favourites are synced without their lock: " + taken.error().message);
    }
  }
  ports_.defaults.synchronize();
  if (!store_) store_.emplace(ports_.defaults, cloud_, ports_.random, ports_.log);
  return lock;
}

void FavoriteMailboxSync::recordLocalEdit(std::vector<Mailbox> favorites, std::vector<Mailbox> previous) {
  const auto lock = begin();
  store_->recordLocalEdit(favorites, previous);
  // Before the lock is given up: another process must find this counter used.
  store_->saveLocally();
}

std::vector<Mailbox> FavoriteMailboxSync::loadMergeAndSave(const std::vector<Mailbox>& favorites) {
  const auto lock = begin();
  cloud_.synchronize();
  store_->loadAndMerge(favorites);
  store_->save();
  return store_->visibleList();
}

}  // namespace quillbox
