#include "host/linux/directory_watcher.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "host/linux/file_descriptor.h"
#include "host/linux/system_error.h"

namespace quillbox {
namespace {

// One mask for all, because the kernel keeps one watch per directory however often it is asked for.
constexpr std::uint32_t kMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE |
                                IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

bool isMissing(int number) {
  return number == ENOENT || number == ENOTDIR;
}

}  // namespace

// Shared by the main queue and the reading thread, under one mutex.
class InotifyDirectoryWatcher::Watches : public std::enable_shared_from_this<Watches> {
 public:
  explicit Watches(Dispatch& dispatch)
      : dispatch_(dispatch),
        inotify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
        wake_(::eventfd(0, EFD_CLOEXEC)) {
    if (!inotify_ || !wake_) failure_ = errno;
  }

  bool isUsable() const { return failure_ == 0; }

  Result<std::uint64_t> add(const Path& directory, std::function<void()> changed) {
    const std::lock_guard lock(mutex_);
    int number = failure_;
    const auto id = next_++;
    if (number == 0) {
      auto& watch = watches_[id];
      watch.directory = directory;
      watch.changed = std::make_shared<std::function<void()>>(std::move(changed));
      number = arm(id, watch);
    }
    if (number == 0) return id;
    watches_.erase(id);
    if (number != ENOSPC) return systemFailure("watch", directory, number);
    return fail(number, fmt::format("Can’t watch {}: the user’s limit of inotify watches is used up",
                                    shownPath(directory)));
  }

  void remove(std::uint64_t id) {
    const std::lock_guard lock(mutex_);
    const auto watch = watches_.find(id);
    if (watch == watches_.end()) return;
    detach(id, watch->second);
    watches_.erase(watch);
  }

  void stop() {
    const std::uint64_t one = 1;
    (void)retrying([&] { return ::write(wake_.get(), &one, sizeof one); });
  }

  // The reading thread; returns after stop().
  void readUntilStopped() {
    std::array<pollfd, 2> waits{pollfd{inotify_.get(), POLLIN, 0}, pollfd{wake_.get(), POLLIN, 0}};
    while (true) {
      if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) return;
      if ((waits[1].revents & POLLIN) != 0) return;
      if ((waits[0].revents & POLLIN) != 0) readEvents();
    }
  }

 private:
  struct Watch {
    Path directory;
    std::shared_ptr<std::function<void()>> changed;
    int descriptor = -1;
    bool isWaiting = false;  // `descriptor` watches an ancestor, for the directory is missing
    bool isPending = false;  // a call is on its way to the main queue
  };

  int askKernel(const Path& directory, int& number) const {
    const int descriptor = ::inotify_add_watch(inotify_.get(), directory.c_str(), kMask);
    number = descriptor < 0 ? errno : 0;
    return descriptor;
  }

  // Watches the directory or, while it is missing, the nearest ancestor that is there. Returns an errno or 0.
  int arm(std::uint64_t id, Watch& watch) {
    while (true) {
      watch.isWaiting = false;
      Path place = watch.directory;
      Path missing;
      int number = 0;
      int descriptor = askKernel(place, number);
      while (descriptor < 0 && isMissing(number)) {
        missing = place;
        place = missing.has_parent_path() ? missing.parent_path() : Path(".");
        if (place == missing) return number;
        watch.isWaiting = true;
        descriptor = askKernel(place, number);
      }
      if (descriptor < 0) return number;
      watch.descriptor = descriptor;
      byDescriptor_[descriptor].insert(id);
      // What was missing may have come before the ancestor was watched.
      // (Not a file in its place: with "/." only a directory is there.)
      if (!watch.isWaiting || ::access((missing / ".").c_str(), F_OK) != 0) return 0;
      detach(id, watch);
    }
  }

  void detach(std::uint64_t id, Watch& watch) {
    const auto users = byDescriptor_.find(watch.descriptor);
    if (users != byDescriptor_.end()) {
      users->second.erase(id);
      if (users->second.empty()) {
        (void)::inotify_rm_watch(inotify_.get(), watch.descriptor);
        byDescriptor_.erase(users);
      }
    }
    watch.descriptor = -1;
  }

  void readEvents() {
    alignas(inotify_event) std::array<char, 16384> buffer;
    const std::lock_guard lock(mutex_);
    while (true) {
      const auto size = retrying([&] { return ::read(inotify_.get(), buffer.data(), buffer.size()); });
      if (size <= 0) return;
      for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
        handle(*event);
        at += sizeof(inotify_event) + event->len;
      }
    }
  }

  void handle(const inotify_event& event) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
      for (auto& [id, watch] : watches_) rearm(id, watch);
      return;
    }
    const auto users = byDescriptor_.find(event.wd);
    if (users == byDescriptor_.end()) return;
    const auto ids = users->second;
    if ((event.mask & IN_IGNORED) != 0) byDescriptor_.erase(users);
    const bool isGone = (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0;
    for (const auto id : ids) {
      Watch& watch = watches_.at(id);
      if (isGone || watch.isWaiting) {
        rearm(id, watch);
      } else {
        tell(id, watch);
      }
    }
  }

  // Looks again what is there under the path; an ancestor that still waits is no news.
  void rearm(std::uint64_t id, Watch& watch) {
    const bool waited = watch.isWaiting;
    detach(id, watch);
    const bool failed = arm(id, watch) != 0;
    if (failed || !waited || !watch.isWaiting) tell(id, watch);
  }

  void tell(std::uint64_t id, Watch& watch) {
    if (std::exchange(watch.isPending, true)) return;
    dispatch_.main([weak = weak_from_this(), id] {
      if (const auto self = weak.lock()) self->call(id);
    });
  }

  void call(std::uint64_t id) {
    std::shared_ptr<std::function<void()>> changed;
    {
      const std::lock_guard lock(mutex_);
      const auto watch = watches_.find(id);
      if (watch == watches_.end()) return;
      watch->second.isPending = false;
      changed = watch->second.changed;
    }
    (*changed)();
  }

  Dispatch& dispatch_;
  const FileDescriptor inotify_;
  const FileDescriptor wake_;
  int failure_ = 0;
  std::mutex mutex_;
  std::uint64_t next_ = 1;
  std::map<std::uint64_t, Watch> watches_;
  std::map<int, std::set<std::uint64_t>> byDescriptor_;
};

InotifyDirectoryWatcher::InotifyDirectoryWatcher(Dispatch& dispatch)
    : watches_(std::make_shared<Watches>(dispatch)) {}

InotifyDirectoryWatcher::~InotifyDirectoryWatcher() {
  if (!reader_.joinable()) return;
  watches_->stop();
  reader_.join();
}

Result<Subscription> InotifyDirectoryWatcher::watch(const Path& directory, std::function<void()> changed) {
  if (!reader_.joinable() && watches_->isUsable())
    reader_ = std::thread([watches = watches_.get()] { watches->readUntilStopped(); });
  const auto id = watches_->add(directory, std::move(changed));
  if (!id) return forward(id);
  return Subscription([weak = std::weak_ptr(watches_), id = *id] {
    if (const auto watches = weak.lock()) watches->remove(id);
  });
}

}  // namespace quillbox
