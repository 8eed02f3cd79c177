// A directory watcher that tells of changes only when a test says so.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "base/result.h"
#include "platform/directory_watcher.h"

namespace quillbox {

// Main queue only, as the port says.
class ManualDirectoryWatcher final : public DirectoryWatcher {
 public:
  Result<Subscription> watch(const Path& directory, std::function<void()> changed) override {
    if (failing_ != 0) return fail(failing_, "Can’t watch " + directory.string());
    return lists_[directory].add(std::move(changed));
  }

  void tell(const Path& directory) { lists_[directory].notify(); }
  // watch() fails with this errno from now on; 0 ends it.
  void failWatches(int number) { failing_ = number; }

 private:
  std::map<Path, ObserverList<>> lists_;
  int failing_ = 0;
};

}  // namespace quillbox
