#include "main/favorites_replication.h"

#include <chrono>
#include <string>

namespace quillbox {
namespace {

constexpr std::chrono::milliseconds kLockWait{5000};
constexpr const char* kMirroredPrefix = "sync";

// An absolute path as it is, a relative one below the profile.
Path cloudFolder(const Profile& profile, const std::string& setting) {
  return setting.empty() ? profile.cloud : profile.cloud.parent_path() / setting;
}

}  // namespace

FavoritesReplication::FavoritesReplication(const Ports& ports, const Profile& profile)
    : ports_(ports),
      lockFile_(profile.data / "favorites-sync.lock"),
      watcher_(ports_.dispatch),
      cloud_({ports_.files, watcher_, ports_.random, ports_.clock, ports_.log},
             cloudFolder(profile, ports_.settings.cloudFolder.get())) {}

std::unique_ptr<FavoriteMailboxSync> FavoritesReplication::makeSync() {
  return std::make_unique<FavoriteMailboxSync>(
      FavoriteMailboxSync::Ports{ports_.settings.defaults(), cloud_, ports_.random, ports_.log,
                                 [this] { return ports_.files.lock(lockFile_, kLockWait); }});
}

void FavoritesReplication::start(FavoriteMailboxManager& favorites) {
  changes_ = cloud_.observe([&favorites] { favorites.synchronize(); });
  // The old list of favourites is the sync store's to write, though its key begins so.
  mirror_.emplace(ports_.settings.defaults(), cloud_, ports_.notifications, ports_.log,
                  std::set<std::string, std::less<>>{std::string(FavoriteMailboxSyncStore::kLegacyKey)});
  mirror_->startWithPrefix(kMirroredPrefix);
  favorites.synchronize();
}

}  // namespace quillbox
