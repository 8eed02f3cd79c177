#include "sync/cloud_defaults_sync.h"

#include <utility>

namespace quillbox {

CloudDefaultsSync::CloudDefaultsSync(UserDefaults& defaults, CloudStore& cloud,
                                     NotificationCenter& notifications, Log& log,
                                     std::set<std::string, std::less<>> except)
    : defaults_(defaults),
      cloud_(cloud),
      notifications_(notifications),
      log_(log),
      except_(std::move(except)) {}

void CloudDefaultsSync::startWithPrefix(std::string prefix) {
  prefix_ = std::move(prefix);
  if (!cloud_.isAvailable()) return;
  cloudChanges_ = cloud_.observe([this] { updateFromiCloud(); });
  followDefaults();
}

void CloudDefaultsSync::followDefaults() {
  defaultsChanges_ = defaults_.observe([this](const std::string&) { updateToiCloud(); });
}

bool CloudDefaultsSync::covers(std::string_view key) const {
  return key.starts_with(prefix_) && !except_.contains(key);
}

void CloudDefaultsSync::updateToiCloud() {
  for (const auto& key : defaults_.storedKeys()) {
    const auto value = covers(key) ? defaults_.stored(key) : std::nullopt;
    if (!value) continue;
    if (const auto done = cloud_.set(key, *value); !done)
      log_.error("Can’t hand the setting " + key + " to the other machines: " + done.error().message);
  }
  cloud_.synchronize();
}

void CloudDefaultsSync::updateFromiCloud() {
  defaultsChanges_.reset();
  for (const auto& [key, value] : cloud_.readAll()) {
    if (!covers(key)) continue;
    if (const auto done = defaults_.set(key, value); !done)
      log_.error("Can’t take over the setting " + key + ": " + done.error().message);
  }
  defaults_.synchronize();
  followDefaults();
  notifications_.post(notification::cloudDefaultsSyncDidUpdateToLatest);
}

}  // namespace quillbox
