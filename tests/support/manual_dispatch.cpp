#include "support/manual_dispatch.h"

#include <string>
#include <utility>
#include <vector>

#include "base/result.h"

namespace quillbox {

struct ManualDispatch::Serial {
  std::string label;
  std::deque<Task> tasks;
};

class ManualDispatch::Queue final : public SerialQueue {
 public:
  Queue(ManualDispatch& owner, std::shared_ptr<Serial> serial) : owner_(owner), serial_(std::move(serial)) {}
  // As the port promises: what was queued still runs.
  ~Queue() override {
    while (owner_.runOneOf(*serial_)) {
    }
  }
  void async(Task task) override {
    const std::lock_guard lock(owner_.mutex_);
    serial_->tasks.push_back(std::move(task));
  }
  void sync(const Task& task) override {
    while (owner_.runOneOf(*serial_)) {
    }
    owner_.runOffMain(task);
  }

 private:
  ManualDispatch& owner_;
  std::shared_ptr<Serial> serial_;
};

class ManualDispatch::Delayed final : public DelayedWork {
 public:
  Delayed(Task work, Where place) : task(std::move(work)), where(place) {}
  void cancel() override { cancelled = true; }

  Task task;
  Where where;
  std::atomic<bool> cancelled = false;
};

ManualDispatch::ManualDispatch(ManualClock& clock) : clock_(clock) {}
ManualDispatch::~ManualDispatch() = default;

void ManualDispatch::main(Task task) {
  const std::lock_guard lock(mutex_);
  main_.push_back(std::move(task));
}

bool ManualDispatch::isMain() const {
  const std::lock_guard lock(mutex_);
  return !offMain_;
}

void ManualDispatch::syncMain(const Task& task) {
  bool before = false;
  {
    const std::lock_guard lock(mutex_);
    before = std::exchange(offMain_, false);
  }
  task();
  const std::lock_guard lock(mutex_);
  offMain_ = before;
}

void ManualDispatch::background(QualityOfService, Task task) {
  const std::lock_guard lock(mutex_);
  background_.push_back(std::move(task));
}

std::unique_ptr<SerialQueue> ManualDispatch::serialQueue(std::string label) {
  auto serial = std::make_shared<Serial>();
  serial->label = std::move(label);
  const std::lock_guard lock(mutex_);
  serials_.push_back(serial);
  return std::make_unique<Queue>(*this, serial);
}

std::shared_ptr<DelayedWork> ManualDispatch::after(std::chrono::nanoseconds delay, Task task, Where where) {
  auto work = std::make_shared<Delayed>(std::move(task), where);
  const std::lock_guard lock(mutex_);
  delayed_.emplace((clock_.steady() + delay).count(), work);
  return work;
}

std::shared_ptr<DelayedWork> ManualDispatch::mainAfter(std::chrono::nanoseconds delay, Task task) {
  return after(delay, std::move(task), Where::main);
}

std::shared_ptr<DelayedWork> ManualDispatch::backgroundAfter(std::chrono::nanoseconds delay, Task task) {
  return after(delay, std::move(task), Where::background);
}

void ManualDispatch::runOffMain(const Task& task) {
  bool before = false;
  {
    const std::lock_guard lock(mutex_);
    before = std::exchange(offMain_, true);
  }
  task();
  const std::lock_guard lock(mutex_);
  offMain_ = before;
}

bool ManualDispatch::runOneOf(Serial& serial) {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    if (serial.tasks.empty()) return false;
    task = std::move(serial.tasks.front());
    serial.tasks.pop_front();
  }
  runOffMain(task);
  return true;
}

bool ManualDispatch::runOneSerial() {
  std::vector<std::shared_ptr<Serial>> alive;
  {
    const std::lock_guard lock(mutex_);
    std::erase_if(serials_, [](const auto& weak) { return weak.expired(); });
    for (const auto& weak : serials_) alive.push_back(weak.lock());
  }
  for (const auto& serial : alive) {
    if (runOneOf(*serial)) return true;
  }
  return false;
}

std::size_t ManualDispatch::runMain() {
  for (std::size_t count = 0;; ++count) {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      if (main_.empty()) return count;
      task = std::move(main_.front());
      main_.pop_front();
    }
    task();
  }
}

std::size_t ManualDispatch::runBackground() {
  std::size_t pool = 0;
  std::size_t all = 0;
  {
    const std::lock_guard lock(mutex_);
    pool = background_.size();
  }
  all = pendingBackground();
  for (std::size_t i = 0; i < pool; ++i) runBackgroundTask(0);
  for (std::size_t i = pool; i < all; ++i) runOneSerial();
  return all;
}

void ManualDispatch::runBackgroundTask(std::size_t index) {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    if (index >= background_.size()) fatal("no background task waits at that place");
    const auto at = background_.begin() + static_cast<std::ptrdiff_t>(index);
    task = std::move(*at);
    background_.erase(at);
  }
  runOffMain(task);
}

std::size_t ManualDispatch::runUntilIdle() {
  for (std::size_t count = 0; count < 1'000'000;) {
    const std::size_t before = count;
    count += runMain();
    bool pool = false;
    {
      const std::lock_guard lock(mutex_);
      pool = !background_.empty();
    }
    if (pool) {
      runBackgroundTask(0);
      ++count;
    } else if (runOneSerial()) {
      ++count;
    }
    if (count == before) return count;
  }
  fatal("the queues never become idle");
}

void ManualDispatch::advance(std::chrono::nanoseconds by) {
  const auto end = clock_.steady() + by;
  runUntilIdle();
  while (true) {
    std::shared_ptr<Delayed> due;
    {
      const std::lock_guard lock(mutex_);
      const auto first = delayed_.begin();
      if (first == delayed_.end() || first->first > end.count()) break;
      due = first->second;
      const auto at = std::chrono::nanoseconds(first->first);
      if (at > clock_.steady()) clock_.advance(at - clock_.steady());
      delayed_.erase(first);
    }
    if (!due->cancelled) {
      if (due->where == Where::main) {
        due->task();
      } else {
        runOffMain(due->task);
      }
    }
    runUntilIdle();
  }
  if (end > clock_.steady()) clock_.advance(end - clock_.steady());
}

std::size_t ManualDispatch::pendingMain() const {
  const std::lock_guard lock(mutex_);
  return main_.size();
}

std::size_t ManualDispatch::pendingBackground() const {
  const std::lock_guard lock(mutex_);
  std::size_t count = background_.size();
  for (const auto& weak : serials_) {
    if (const auto serial = weak.lock()) count += serial->tasks.size();
  }
  return count;
}

std::size_t ManualDispatch::pendingDelayed() const {
  const std::lock_guard lock(mutex_);
  std::size_t count = 0;
  for (const auto& [at, work] : delayed_) count += work->cancelled ? 0U : 1U;
  return count;
}

}  // namespace quillbox
