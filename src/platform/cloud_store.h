// A small key-value store that the host carries between the user's machines
// (NSUbiquitousKeyValueStore; on Linux a folder that any file synchroniser takes along).
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "base/observable.h"
#include "base/result.h"
#include "platform/user_defaults.h"

namespace quillbox {

using CloudValues = std::map<std::string, DefaultsValue, std::less<>>;

// Main queue only. Machines see each other's values late, in any order, or never; the last writer of a key
// wins.
class CloudStore {
 public:
  // A longer key cannot be set.
  static constexpr std::size_t kLongestKey = 64;  // bytes of UTF-8

  virtual ~CloudStore() = default;

  // Whether the user has such a store at all; when not, reading gives nothing and setting fails.
  virtual bool isAvailable() const = 0;
  // Everything that is there now. Never fails: what cannot be read, or is not yet whole, is absent.
  virtual CloudValues readAll() = 0;
  // Fails with EINVAL on an empty key, ENAMETOOLONG beyond kLongestKey, EFBIG when the value is larger than
  // the store takes, and with the errno of the step that failed where values are files. On an error the old
  // value stands.
  virtual Result<void> set(std::string_view key, const DefaultsValue& value) = 0;
  // Hands on what was set and takes up what has come; a store that does both by itself may do nothing.
  virtual void synchronize() = 0;
  // Called after another machine or process changed the store, never for this object's own set().
  [[nodiscard]] virtual Subscription observe(std::function<void()> changedExternally) = 0;
};

}  // namespace quillbox
