// What carries a profile's favourites to the user's other machines: the cloud folder and those who use it.
#pragma once

#include <memory>
#include <optional>

#include "base/observable.h"
#include "host/linux/cloud_folder.h"
#include "host/linux/directory_watcher.h"
#include "host/linux/profile.h"
#include "mailboxes/favorite_mailbox_manager.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/file_system.h"
#include "platform/log.h"
#include "platform/notification_center.h"
#include "settings/user_settings.h"
#include "sync/cloud_defaults_sync.h"
#include "sync/favorite_mailbox_sync.h"

namespace quillbox {

// Main queue only. Everything outlives it.
class FavoritesReplication {
 public:
  struct Ports {
    FileSystem& files;
    Dispatch& dispatch;
    const Clock& clock;
    RandomSource& random;
    NotificationCenter& notifications;
    Log& log;
    UserSettings& settings;
  };

  // The folder is the setting "cloudFolder" as it is now; an empty one means the profile's own.
  FavoritesReplication(const Ports& ports, const Profile& profile);

  std::unique_ptr<FavoriteMailboxSync> makeSync();

  // For a program that stays: makes the first sync step, then one whenever another machine has changed the
  // folder, and mirrors the settings that begin with "sync". A single command makes its steps itself.
  void start(FavoriteMailboxManager& favorites);

 private:
  Ports ports_;
  Path lockFile_;
  InotifyDirectoryWatcher watcher_;
  CloudFolder cloud_;
  std::optional<CloudDefaultsSync> mirror_;
  Subscription changes_;
};

}  // namespace quillbox
