// The directory watcher on Linux: inotify, read by one thread.
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/directory_watcher.h"
#include "platform/dispatch.h"

namespace quillbox {

class InotifyDirectoryWatcher final : public DirectoryWatcher {
 public:
  // `dispatch` outlives this object and runs the callbacks. The reading thread starts with the first watch.
  explicit InotifyDirectoryWatcher(Dispatch& dispatch);
  ~InotifyDirectoryWatcher() override;
  InotifyDirectoryWatcher(const InotifyDirectoryWatcher&) = delete;
  InotifyDirectoryWatcher& operator=(const InotifyDirectoryWatcher&) = delete;

  [[nodiscard]] Result<Subscription> watch(const Path& directory, std::function<void()> changed) override;

 private:
  class Watches;

  std::shared_ptr<Watches> watches_;  // subscriptions may outlive the watcher
  std::thread reader_;
};

}  // namespace quillbox
