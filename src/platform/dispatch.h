// Queues: where work runs, and when.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace quillbox {

using Task = std::function<void()>;

enum class QualityOfService { userInitiated, utility };

// Runs its tasks one after another, in order, off the main queue. Destroying it lets the queued tasks finish.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  virtual void async(Task task) = 0;
  // Waits for the queued tasks, then runs `task` and returns. Never called from a task of the same queue.
  virtual void sync(const Task& task) = 0;
};

// A task that waits for its time. cancel() before it started means that it never runs; later it does nothing.
class DelayedWork {
 public:
  virtual ~DelayedWork() = default;
  virtual void cancel() = 0;
};

// Every member may be called from any thread.
class Dispatch {
 public:
  virtual ~Dispatch() = default;
  // State of the application changes on the main queue only; its tasks run in order.
  virtual void main(Task task) = 0;
  virtual bool isMain() const = 0;
  // Runs `task` on the main queue and returns when it is done; at once when the caller is on it already.
  virtual void syncMain(const Task& task) = 0;
  // A thread of the shared pool.
  virtual void background(QualityOfService quality, Task task) = 0;
  virtual std::unique_ptr<SerialQueue> serialQueue(std::string label) = 0;
  virtual std::shared_ptr<DelayedWork> mainAfter(std::chrono::nanoseconds delay, Task task) = 0;
  virtual std::shared_ptr<DelayedWork> backgroundAfter(std::chrono::nanoseconds delay, Task task) = 0;
};

}  // namespace quillbox
