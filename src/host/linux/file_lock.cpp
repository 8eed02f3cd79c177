// Locks between processes: flock() with a time limit.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "host/linux/file_descriptor.h"
#include "host/linux/file_system.h"
#include "host/linux/system_error.h"

namespace quillbox {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class HeldLock final : public FileLock {
 public:
  explicit HeldLock(FileDescriptor file) : file_(std::move(file)) {}
  ~HeldLock() override {
    // Before the close, so that whoever waits for the close finds it free.
    ::flock(file_.get(), LOCK_UN);
  }

 private:
  FileDescriptor file_;
};

// Wakes when somebody closes the file, which is how a lock is given up.
class CloseWatch {
 public:
  explicit CloseWatch(const Path& path) : inotify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (inotify_ && ::inotify_add_watch(inotify_.get(), path.c_str(), IN_CLOSE) < 0) (void)inotify_.close();
  }

  // Returns after a close, or after `most`.
  void wait(milliseconds most) {
    // Where nothing tells of closes (a network file system, no watch left) a short nap has to do.
    pollfd watched{inotify_.get(), POLLIN, 0};
    const auto nap = std::min(most, milliseconds(inotify_ ? 100 : 10));
    if (::poll(&watched, inotify_ ? 1 : 0, static_cast<int>(nap.count())) <= 0) return;
    char events[4096];
    while (::read(inotify_.get(), events, sizeof events) > 0) {
    }
  }

 private:
  FileDescriptor inotify_;
};

}  // namespace

Result<std::unique_ptr<FileLock>> LinuxFileSystem::lock(const Path& path, milliseconds wait) {
  FileDescriptor file(retrying(
      [&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600); }));
  if (!file) {
    const int reason = errno;
    // A lock file that we may only read still serves.
    file = FileDescriptor(
        retrying([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
    if (!file) return systemFailure("lock", path, reason);
  }
  const auto end = steady_clock::now() + wait;
  std::unique_ptr<CloseWatch> watch;
  while (retrying([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0) {
    if (errno != EWOULDBLOCK) return systemFailure("lock", path, errno);
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left <= milliseconds::zero()) {
      return fail(ETIMEDOUT, fmt::format("Can’t lock {}: another program has kept it for {} ms",
                                         shownPath(path), wait.count()));
    }
    if (watch == nullptr) {
      watch = std::make_unique<CloseWatch>(path);
    } else {
      watch->wait(left);
    }
  }
  return std::make_unique<HeldLock>(std::move(file));
}

}  // namespace quillbox
