// One published property of the settings.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "base/observable.h"
#include "base/result.h"
#include "platform/user_defaults.h"
#include "settings/setting_codec.h"

namespace quillbox {

// What a property writes itself to.
class SettingStore {
 public:
  virtual ~SettingStore() = default;
  virtual Result<void> write(std::string_view key, DefaultsValue value) = 0;
  virtual Result<bool> writeIfUnchanged(std::string_view key, DefaultsValue value) = 0;
};

// Main queue only.
template <class T>
class Setting {
 public:
  using Value = T;

  const T& get() const { return value_.get(); }

  // Writes the suite under the property's key and publishes the change. On an error (a full disk, a value
  // that cannot be stored) value and suite are as before; the error is logged too, so that a caller without a
  // user to tell may ignore it.
  Result<void> set(const T& value) {
    return store_->write(key_, setting_codec::SettingCodec<T>::encode(value));
  }

  // For a value that was made out of the present one: as set(), but false, with the other value published,
  // when another process has changed it since this one last looked.
  Result<bool> setIfUnchanged(const T& value) {
    return store_->writeIfUnchanged(key_, setting_codec::SettingCodec<T>::encode(value));
  }

  // Called after the value changed: by set(), or by another process when synchronize() notices.
  [[nodiscard]] Subscription observe(std::function<void(const T&)> observer) {
    return value_.observe(std::move(observer));
  }

 private:
  friend class UserSettings;
  friend struct SettingAccess;

  Observable<T> value_;
  SettingStore* store_ = nullptr;
  std::string_view key_;
};

}  // namespace quillbox
