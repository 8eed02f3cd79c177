// The sync step of the favourites: when it runs and what it tells. FavoriteMailboxManager owns one and is the
// list that it works on.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "base/observable.h"
#include "model/mailbox.h"
#include "platform/notification_center.h"
#include "sync/favorite_mailbox_sync_store.h"

namespace quillbox {

// What the sync step needs of the favourites manager. Main queue only.
class SyncedFavoriteList {
 public:
  virtual ~SyncedFavoriteList() = default;
  // What the setting "favoriteMailboxes" holds.
  virtual std::vector<Mailbox> storedFavorites() const = 0;
  // Stores a list that sync made. Must not come back as localListChanged().
  virtual void storeFavorites(const std::vector<Mailbox>& list) = 0;
  // Loads the list from its setting and tells its observers.
  virtual void reloadFavorites() = 0;
};

// Main queue only.
class FavoriteMailboxSync {
 public:
  // Everything outlives this object.
  struct Ports {
    UserDefaults& defaults;
    CloudStore& cloud;
    RandomSource& random;
    NotificationCenter& notifications;
    Log& log;
    SyncLock lock;
  };

  // `isEnabled` answers the setting "enableFavoritesSync" as it is now.
  FavoriteMailboxSync(Ports ports, std::function<bool()> isEnabled, SyncedFavoriteList& list);

  // Follows the cloud store from now on and makes the first step.
  void start();
  // The sync step: on start, when "enableFavoritesSync" changed, and when the cloud store changed. With sync
  // on: load, merge, save, and store the visible list when it differs from the stored one. In any case the
  // list is reloaded and iCloudSyncDidUpdateToLatest posted.
  void sync();
  // The user changed the list from `previousList` to `newList`, which is stored already: records it when sync
  // is on, then makes the sync step.
  void localListChanged(const std::vector<Mailbox>& newList, const std::vector<Mailbox>& previousList);

 private:
  struct Edit {
    std::vector<Mailbox> newList;
    std::vector<Mailbox> previousList;
  };

  void run(std::optional<Edit> edit);
  void step(const std::optional<Edit>& edit);
  void mergeAndSave(const std::optional<Edit>& edit);

  Ports ports_;
  std::function<bool()> isEnabled_;
  SyncedFavoriteList& list_;
  HostFavoriteMailboxCloudStore cloud_;
  std::optional<FavoriteMailboxSyncStore> store_;
  bool wasSyncEnabled_ = false;
  bool isRunning_ = false;
  std::deque<std::optional<Edit>> waiting_;
  Subscription cloudChanges_;
};

}  // namespace quillbox
