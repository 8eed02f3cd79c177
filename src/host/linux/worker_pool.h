// Threads for work off the main queue: a pool, serial queues on top of it, and a timer.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/dispatch.h"

namespace quillbox {

// Any thread. Threads start when work waits and none is idle, up to a limit; tasks may block. A host with a
// main loop of its own builds its Dispatch on this.
class WorkerPool {
 public:
  WorkerPool();
  // Lets running tasks finish; tasks of the pool that have not started, and delayed ones, never run. Serial
  // queues must be gone before.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  void async(QualityOfService quality, Task task);
  std::unique_ptr<SerialQueue> serialQueue(std::string label);
  // Hands `task` to `run` (on the timer's thread; it must only queue it) once `delay` has passed.
  std::shared_ptr<DelayedWork> after(std::chrono::nanoseconds delay, Task task,
                                     std::function<void(Task)> run);

  // Nothing runs or waits in the pool, delayed work aside.
  bool isIdle() const;
  // Called, on a worker's thread, whenever the pool becomes idle. Set before the first task.
  void onIdle(std::function<void()> told);
  // Delayed work that has not been handed over never runs.
  void cancelDelayed();

 private:
  class Serial;
  class Delayed;
  struct Timed {
    std::shared_ptr<Delayed> work;
    std::function<void(Task)> run;
  };

  void work();
  void keepTime();

  mutable std::mutex mutex_;
  std::condition_variable wanted_;
  std::condition_variable timeChanged_;
  std::deque<Task> urgent_;
  std::deque<Task> utility_;
  std::multimap<std::chrono::steady_clock::time_point, Timed> delayed_;
  std::function<void()> idleTold_;
  std::vector<std::thread> threads_;
  std::thread timer_;
  std::size_t idle_ = 0;
  std::size_t busy_ = 0;
  bool ending_ = false;
};

}  // namespace quillbox
