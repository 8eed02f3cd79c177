// The user's favourites, and how they take part in the replication between machines.
#pragma once

#include <functional>
#include <memory>

#include "mailboxes/list_mailbox_manager.h"
#include "platform/notification_center.h"
#include "sync/favorite_mailbox_sync.h"

namespace quillbox {

namespace notification {
// The favourites agree with what the cloud store holds.
inline constexpr NotificationName<NoObject> iCloudSyncDidUpdateToLatest{"iCloudSyncDidUpdateToLatest"};
}  // namespace notification

class FavoriteMailboxManager final : public ListMailboxManager {
 public:
  // `makeSync` is called when replication is first needed; it may be empty on hosts without it.
  FavoriteMailboxManager(UserSettings& settings, NotificationCenter& notifications,
                         std::function<std::unique_ptr<FavoriteMailboxSync>()> makeSync = {});

  // Writes the list; with replication on, records the change there too.
  Result<bool> save(std::vector<Mailbox> list, Overwrite overwrite) override;

  // Brings the list and the replicated state together, when the setting is on; then, in any case, reloads and
  // posts "iCloudSyncDidUpdateToLatest". Called at start, and when the cloud store has changed; switching the
  // setting on calls it too.
  void synchronize();

 protected:
  // Before the first merge the other machines' favourites are not known here, and a change would seem to
  // remove them.
  void refresh() override;

 private:
  FavoriteMailboxSync* sync();

  NotificationCenter& notifications_;
  std::function<std::unique_ptr<FavoriteMailboxSync>()> makeSync_;
  std::unique_ptr<FavoriteMailboxSync> sync_;
  bool wasSyncEnabled_ = false;
  bool isSynchronizing_ = false;
  Subscription switched_;
  Subscription updated_;
};

}  // namespace quillbox
