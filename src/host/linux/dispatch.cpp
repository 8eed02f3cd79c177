#include "host/linux/dispatch.h"

#include <utility>

namespace quillbox {

RunLoopDispatch::RunLoopDispatch() {
  pool_.onIdle([this] { wake(); });
}

RunLoopDispatch::~RunLoopDispatch() {
  std::deque<Task> dropped;
  const std::lock_guard lock(mutex_);
  ending_ = true;
  dropped.swap(tasks_);
  changed_.notify_all();
}

void RunLoopDispatch::main(Task task) {
  const std::lock_guard lock(mutex_);
  if (ending_) return;
  tasks_.push_back(std::move(task));
  changed_.notify_all();
}

bool RunLoopDispatch::isMain() const {
  return std::this_thread::get_id() == mainThread_;
}

void RunLoopDispatch::syncMain(const Task& task) {
  if (isMain()) {
    task();
    return;
  }
  enum class State { waiting, running, done };
  // Shared with the queued task, which may outlive this call when the queue ends.
  const auto state = std::make_shared<State>(State::waiting);
  std::unique_lock lock(mutex_);
  if (ending_) return;
  tasks_.emplace_back([this, state, &task] {
    {
      const std::lock_guard running(mutex_);
      *state = State::running;
    }
    task();
    const std::lock_guard done(mutex_);
    *state = State::done;
    changed_.notify_all();
  });
  changed_.notify_all();
  changed_.wait(lock, [&] { return *state == State::done || (ending_ && *state == State::waiting); });
}

void RunLoopDispatch::background(QualityOfService quality, Task task) {
  pool_.async(quality, std::move(task));
}

std::unique_ptr<SerialQueue> RunLoopDispatch::serialQueue(std::string label) {
  return pool_.serialQueue(std::move(label));
}

std::shared_ptr<DelayedWork> RunLoopDispatch::mainAfter(std::chrono::nanoseconds delay, Task task) {
  return pool_.after(delay, std::move(task), [this](Task due) { main(std::move(due)); });
}

std::shared_ptr<DelayedWork> RunLoopDispatch::backgroundAfter(std::chrono::nanoseconds delay, Task task) {
  return pool_.after(delay, std::move(task),
                     [this](Task due) { pool_.async(QualityOfService::userInitiated, std::move(due)); });
}

void RunLoopDispatch::wake() {
  const std::lock_guard lock(mutex_);
  woken_ = true;
  changed_.notify_all();
}

bool RunLoopDispatch::runOne() {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) return false;
    task = std::move(tasks_.front());
    tasks_.pop_front();
  }
  task();
  return true;
}

void RunLoopDispatch::runMain() {
  runMainUntil([this] {
    const std::lock_guard lock(mutex_);
    return std::exchange(stopped_, false);
  });
}

void RunLoopDispatch::stopMain() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  woken_ = true;
  changed_.notify_all();
}

void RunLoopDispatch::runMainUntil(const std::function<bool()>& done) {
  (void)runMainUntil(done, std::chrono::hours(24 * 365 * 100));
}

bool RunLoopDispatch::runMainUntil(const std::function<bool()>& done, std::chrono::nanoseconds most) {
  const auto end = std::chrono::steady_clock::now() + most;
  while (!done()) {
    if (runOne()) continue;
    std::unique_lock lock(mutex_);
    if (!changed_.wait_until(lock, end, [this] { return !tasks_.empty() || woken_; })) {
      lock.unlock();
      return done();
    }
    woken_ = false;
  }
  return true;
}

void RunLoopDispatch::drain() {
  pool_.cancelDelayed();
  runMainUntil([this] {
    if (!pool_.isIdle()) return false;
    const std::lock_guard lock(mutex_);
    return tasks_.empty();
  });
}

}  // namespace quillbox
