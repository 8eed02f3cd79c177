// The settings' storage with user-defaults semantics: typed values by key, a registration dictionary behind
// them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/observable.h"
#include "base/result.h"

namespace quillbox {

// A byte blob, told apart from a text.
struct Data {
  std::string bytes;
  bool operator==(const Data&) const = default;
};

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, Data>;

enum class Overwrite { always, unchangedOnly };

// Main queue only, but safe against other processes on the same store: a set() merges into what others have
// written. Reading never fails: what cannot be read is absent, and registered defaults stand in.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // Stored value, else the registered default, else nothing. The type is the stored one; no coercion.
  virtual std::optional<DefaultsValue> get(std::string_view key) const = 0;
  // Only what was stored, never a registered default.
  virtual std::optional<DefaultsValue> stored(std::string_view key) const = 0;
  // The keys of everything that was stored, in byte order.
  virtual std::vector<std::string> storedKeys() const = 0;
  // Durable when it returns without an error; on an error the store is as before. Equal values are not
  // written again.
  virtual Result<void> set(std::string_view key, DefaultsValue value) = 0;
  // In one durable step, or not at all. With Overwrite::unchangedOnly a key that another process has changed
  // since this object last looked is left as that process wants it.
  virtual Result<void> setAll(std::map<std::string, DefaultsValue> values,
                              Overwrite overwrite = Overwrite::always) = 0;
  virtual Result<void> remove(std::string_view key) = 0;
  // Adds to the registration dictionary; never stored.
  virtual void registerDefaults(std::map<std::string, DefaultsValue> defaults) = 0;

  // Called with the key after its value changed, by this process or (when synchronize() notices) by another.
  [[nodiscard]] virtual Subscription observe(std::function<void(const std::string& key)> observer) = 0;
  // Takes over what other processes have written since.
  virtual void synchronize() = 0;
};

}  // namespace quillbox
