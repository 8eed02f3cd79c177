// Mirrors the user defaults whose keys begin with a prefix to the cloud store and back.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "base/observable.h"
#include "platform/cloud_store.h"
#include "platform/log.h"
#include "platform/notification_center.h"
#include "platform/user_defaults.h"

namespace quillbox {

namespace notification {
// The mirrored settings were taken over from the cloud store.
inline constexpr NotificationName<NoObject> cloudDefaultsSyncDidUpdateToLatest{
    "CloudDefaultsSyncDidUpdateToLatest"};
}  // namespace notification

// Main queue only. Everything handed in outlives it; destroying it ends all observation.
class CloudDefaultsSync {
 public:
  // `except`: keys that are not mirrored though they begin with the prefix, because someone else keeps them
  // in the cloud store (the legacy list of the favourites).
  CloudDefaultsSync(UserDefaults& defaults, CloudStore& cloud, NotificationCenter& notifications, Log& log,
                    std::set<std::string, std::less<>> except = {});

  // Remembers the prefix and, when the cloud store is available, follows both sides from now on.
  void startWithPrefix(std::string prefix);
  // Every stored default of the prefix into the cloud store.
  void updateToiCloud();
  // Every cloud value of the prefix into the defaults, without echo; posts
  // cloudDefaultsSyncDidUpdateToLatest.
  void updateFromiCloud();

 private:
  bool covers(std::string_view key) const;
  void followDefaults();

  UserDefaults& defaults_;
  CloudStore& cloud_;
  NotificationCenter& notifications_;
  Log& log_;
  std::set<std::string, std::less<>> except_;
  std::string prefix_;
  Subscription cloudChanges_;
  Subscription defaultsChanges_;
};

}  // namespace quillbox
