#include "sync/favorite_mailbox_sync.h"

#include <utility>

#include "sync/notifications.h"

namespace quillbox {

FavoriteMailboxSync::FavoriteMailboxSync(Ports ports, std::function<bool()> isEnabled,
                                         SyncedFavoriteList& list)
    : ports_(std::move(ports)), isEnabled_(std::move(isEnabled)), list_(list), cloud_(ports_.cloud) {}

void FavoriteMailboxSync::start() {
  if (ports_.cloud.isAvailable()) cloudChanges_ = ports_.cloud.observe([this] { sync(); });
  sync();
}

void FavoriteMailboxSync::sync() {
  run(std::nullopt);
}

void FavoriteMailboxSync::localListChanged(const std::vector<Mailbox>& newList,
                                           const std::vector<Mailbox>& previousList) {
  run(Edit{newList, previousList});
}

// An observer of the list or of the settings may ask for a step while one runs; it gets its own afterwards.
void FavoriteMailboxSync::run(std::optional<Edit> edit) {
  // A step without an edit that already waits serves this one too.
  if (!edit && !waiting_.empty() && !waiting_.back()) return;
  waiting_.push_back(std::move(edit));
  if (isRunning_) return;
  isRunning_ = true;
  while (!waiting_.empty()) {
    const auto next = std::move(waiting_.front());
    waiting_.pop_front();
    step(next);
  }
  isRunning_ = false;
}

void FavoriteMailboxSync::step(const std::optional<Edit>& edit) {
  if (isEnabled_()) {
    mergeAndSave(edit);
  } else {
    wasSyncEnabled_ = false;
  }
  list_.reloadFavorites();
  ports_.notifications.post(iCloudSyncDidUpdateToLatest);
}

void FavoriteMailboxSync::mergeAndSave(const std::optional<Edit>& edit) {
  std::unique_ptr<FileLock> lock;
  if (ports_.lock) {
    // Without the lock the step still loses nothing of this process, so it is made all the same.
    if (auto taken = ports_.lock()) {
      lock = *std::move(taken);
    } else {
      ports_.log.error("Favourites are synced without their lock: " + taken.error().message);
    }
  }
  ports_.defaults.synchronize();
  if (!wasSyncEnabled_) {
    wasSyncEnabled_ = true;
    store_.reset();  // another process may have synced meanwhile
  }
  if (!store_) store_.emplace(ports_.defaults, cloud_, ports_.random, ports_.log);
  if (edit) store_->recordLocalEdit(edit->newList, edit->previousList);
  cloud_.synchronize();
  const auto stored = list_.storedFavorites();
  store_->loadAndMerge(stored);
  store_->save();
  const auto visible = store_->visibleList();
  if (encodeMailboxes(visible) != encodeMailboxes(stored)) list_.storeFavorites(visible);
}

}  // namespace quillbox
