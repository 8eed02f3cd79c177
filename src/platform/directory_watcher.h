// Notice that something changed in a directory, without polling.
#pragma once

#include <functional>

#include "base/observable.h"
#include "base/result.h"
#include "platform/file_system.h"

namespace quillbox {

// Main queue only.
class DirectoryWatcher {
 public:
  virtual ~DirectoryWatcher() = default;

  // Calls `changed` on the main queue soon after an entry of `directory` came, went, was renamed, or was
  // closed by someone who wrote to it; many changes may be told by one call. What changed is for the caller
  // to look up. Subdirectories are not entered. The directory need not exist, and may go and come back: its
  // coming and going are changes too. A call may be spurious. Never called again once the subscription is
  // given up. Fails with the host's errno (ENOSPC: the user's limit of watches is used up) and watches
  // nothing then. Changes that another machine makes on a network file system are not seen.
  [[nodiscard]] virtual Result<Subscription> watch(const Path& directory, std::function<void()> changed) = 0;
};

}  // namespace quillbox
