#include "host/linux/worker_pool.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace quillbox {
namespace {

// Scripts and file operations block their threads, so more of them than processors make sense.
constexpr std::size_t kMostThreads = 64;
constexpr auto kLongestDelay = std::chrono::hours(24 * 365);

}  // namespace

class WorkerPool::Serial final : public SerialQueue {
 public:
  explicit Serial(WorkerPool& pool) : pool_(pool), state_(std::make_shared<State>()) {}

  ~Serial() override {
    std::unique_lock lock(state_->mutex);
    state_->empty.wait(lock, [this] { return !state_->running; });
  }

  void async(Task task) override {
    {
      const std::lock_guard lock(state_->mutex);
      state_->tasks.push_back(std::move(task));
      if (state_->running) return;
      state_->running = true;
    }
    pool_.async(QualityOfService::userInitiated, [state = state_] { drain(*state); });
  }

  void sync(const Task& task) override {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    async([&] {
      task();
      const std::lock_guard lock(mutex);
      done = true;
      changed.notify_one();
    });
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return done; });
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable empty;
    std::deque<Task> tasks;
    bool running = false;
  };

  static void drain(State& state) {
    while (true) {
      Task task;
      {
        const std::lock_guard lock(state.mutex);
        if (state.tasks.empty()) {
          state.running = false;
          state.empty.notify_all();
          return;
        }
        task = std::move(state.tasks.front());
        state.tasks.pop_front();
      }
      task();
    }
  }

  WorkerPool& pool_;
  std::shared_ptr<State> state_;
};

class WorkerPool::Delayed final : public DelayedWork, public std::enable_shared_from_this<Delayed> {
 public:
  explicit Delayed(Task task) : task_(std::move(task)) {}

  void cancel() override {
    Task dropped;
    const std::lock_guard lock(mutex_);
    std::swap(dropped, task_);
  }

  // Runs it unless it was cancelled, at most once.
  void run() {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      std::swap(task, task_);
    }
    if (task) task();
  }

 private:
  std::mutex mutex_;
  Task task_;
};

WorkerPool::WorkerPool() = default;

WorkerPool::~WorkerPool() {
  // What is dropped may hold the last reference to anything: it goes outside the lock.
  std::deque<Task> urgent;
  std::deque<Task> utility;
  decltype(delayed_) delayed;
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    urgent.swap(urgent_);
    utility.swap(utility_);
    delayed.swap(delayed_);
    wanted_.notify_all();
    timeChanged_.notify_all();
  }
  for (auto& thread : threads_) thread.join();
  if (timer_.joinable()) timer_.join();
}

void WorkerPool::async(QualityOfService quality, Task task) {
  const std::lock_guard lock(mutex_);
  if (ending_) return;
  (quality == QualityOfService::userInitiated ? urgent_ : utility_).push_back(std::move(task));
  if (idle_ < urgent_.size() + utility_.size() && threads_.size() < kMostThreads) {
    threads_.emplace_back([this] { work(); });
  } else {
    wanted_.notify_one();
  }
}

std::unique_ptr<SerialQueue> WorkerPool::serialQueue(std::string) {
  return std::make_unique<Serial>(*this);
}

std::shared_ptr<DelayedWork> WorkerPool::after(std::chrono::nanoseconds delay, Task task,
                                               std::function<void(Task)> run) {
  const auto waits = std::clamp<std::chrono::nanoseconds>(delay, std::chrono::nanoseconds(0), kLongestDelay);
  const auto due = std::chrono::steady_clock::now() + waits;
  auto work = std::make_shared<Delayed>(std::move(task));
  const std::lock_guard lock(mutex_);
  if (ending_) return work;
  delayed_.emplace(due, Timed{work, std::move(run)});
  if (!timer_.joinable()) timer_ = std::thread([this] { keepTime(); });
  timeChanged_.notify_one();
  return work;
}

bool WorkerPool::isIdle() const {
  const std::lock_guard lock(mutex_);
  return busy_ == 0 && urgent_.empty() && utility_.empty();
}

void WorkerPool::onIdle(std::function<void()> told) {
  const std::lock_guard lock(mutex_);
  idleTold_ = std::move(told);
}

void WorkerPool::cancelDelayed() {
  decltype(delayed_) dropped;
  const std::lock_guard lock(mutex_);
  dropped.swap(delayed_);
}

void WorkerPool::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    ++idle_;
    wanted_.wait(lock, [this] { return ending_ || !urgent_.empty() || !utility_.empty(); });
    --idle_;
    auto& queue = urgent_.empty() ? utility_ : urgent_;
    if (queue.empty()) return;  // ending
    {
      Task task = std::move(queue.front());
      queue.pop_front();
      ++busy_;
      lock.unlock();
      task();
      // The task's captures go before the pool may count as idle.
    }
    lock.lock();
    --busy_;
    if (busy_ == 0 && urgent_.empty() && utility_.empty() && idleTold_) {
      const auto told = idleTold_;
      lock.unlock();
      told();
      lock.lock();
    }
  }
}

void WorkerPool::keepTime() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (delayed_.empty()) {
      timeChanged_.wait(lock);
      continue;
    }
    const auto due = delayed_.begin()->first;
    if (std::chrono::steady_clock::now() < due) {
      timeChanged_.wait_until(lock, due);
      continue;
    }
    Timed timed = std::move(delayed_.begin()->second);
    delayed_.erase(delayed_.begin());
    lock.unlock();
    timed.run([work = std::move(timed.work)] { work->run(); });
    timed = {};
    lock.lock();
  }
}

}  // namespace quillbox
