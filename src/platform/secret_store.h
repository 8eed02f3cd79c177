// Where the application keeps the keys of its encrypted files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"

namespace quillbox {

// Any thread but the main queue's: the host may ask the user to unlock the store. Names are lower-case words
// joined by "-".
class SecretStore {
 public:
  virtual ~SecretStore() = default;

  // The bytes stored under `name`; nothing when none were ever stored. An error means that the store cannot
  // tell now (locked, not running, damaged): the caller must not take that for "none" and make a new secret.
  virtual Result<std::optional<std::string>> read(std::string_view name) = 0;
  // Durable when it returns without an error. Replaces an earlier value.
  virtual Result<void> write(std::string_view name, std::string_view secret) = 0;
};

}  // namespace quillbox
