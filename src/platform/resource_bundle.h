// Files that the application ships.
#pragma once

#include <optional>
#include <string_view>

#include "platform/file_system.h"

namespace quillbox {

// Any thread.
class ResourceBundle {
 public:
  virtual ~ResourceBundle() = default;
  // locate("Scripts/getMailboxesAsListV2", "scpt"): the file, or nothing when the application does not hold
  // it. Where a host compiles scripts as it loads them, "scpt" finds the script's source.
  virtual std::optional<Path> locate(std::string_view name, std::string_view extension) const = 0;
};

}  // namespace quillbox
