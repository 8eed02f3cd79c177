// The favourites' side of the sync step: everything between "the user changed the list" and "this is the list
// to show", safe against another process of the same profile. FavoriteMailboxManager decides when a step is
// due.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/result.h"
#include "model/mailbox.h"
#include "platform/cloud_store.h"
#include "platform/file_system.h"
#include "sync/favorite_mailbox_sync_store.h"

namespace quillbox {

// Main queue only. Nothing fails towards the caller (see FavoriteMailboxSyncStore).
class FavoriteMailboxSync {
 public:
  // Taken for each call, so that two processes of one profile do not interleave; empty where only one can
  // run.
  using Lock = std::function<Result<std::unique_ptr<FileLock>>()>;

  // Everything outlives this object.
  struct Ports {
    UserDefaults& defaults;
    CloudStore& cloud;
    RandomSource& random;
    Log& log;
    Lock lock;
  };

  // Touches nothing before the first call.
  explicit FavoriteMailboxSync(Ports ports);

  // The user changed the list from `previous` to `favorites`. Kept on this machine at once; the other
  // machines hear of it by loadMergeAndSave(), which has to follow.
  // By value, because the settings are synchronised first, and with them a list that follows them.
  void recordLocalEdit(std::vector<Mailbox> favorites, std::vector<Mailbox> previous);
  // Merges `favorites` with what all machines have written, writes the result, and returns the list to show.
  std::vector<Mailbox> loadMergeAndSave(const std::vector<Mailbox>& favorites);

 private:
  std::unique_ptr<FileLock> begin();

  Ports ports_;
  HostFavoriteMailboxCloudStore cloud_;
  std::optional<FavoriteMailboxSyncStore> store_;
};

}  // namespace quillbox
