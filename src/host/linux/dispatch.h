// Queues of a program without a window system: a main run loop that the program drives itself, and worker
// threads.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "host/linux/worker_pool.h"
#include "platform/dispatch.h"

namespace quillbox {

// The thread that makes it is the main queue's. Main tasks run only inside runMain(), runMainUntil() and
// drain(), and never one inside another unless a task itself calls runMainUntil().
//
//   RunLoopDispatch dispatch;
//   bool done = false;
//   helper.run(text, [&](auto result) { done = true; });
//   dispatch.runMainUntil([&] { return done; });
class RunLoopDispatch final : public Dispatch {
 public:
  RunLoopDispatch();
  // Main tasks that have not run, background tasks that have not started and delayed work never run. Call
  // drain() while what they refer to is alive.
  ~RunLoopDispatch() override;

  void main(Task task) override;
  bool isMain() const override;
  void syncMain(const Task& task) override;
  void background(QualityOfService quality, Task task) override;
  std::unique_ptr<SerialQueue> serialQueue(std::string label) override;
  std::shared_ptr<DelayedWork> mainAfter(std::chrono::nanoseconds delay, Task task) override;
  std::shared_ptr<DelayedWork> backgroundAfter(std::chrono::nanoseconds delay, Task task) override;

  // Main thread. Runs main tasks until stopMain(), which may have been called before and is used up.
  void runMain();
  // Any thread.
  void stopMain();
  // Main thread. Runs main tasks until `done`, which is asked first and after every task.
  void runMainUntil(const std::function<bool()>& done);
  // As above, but for no longer than `most`; returns whether it is done.
  bool runMainUntil(const std::function<bool()>& done, std::chrono::nanoseconds most);
  // Main thread. Gives up delayed work, then runs main tasks until no background task runs or waits and no
  // main task is left.
  void drain();

 private:
  void wake();
  bool runOne();

  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Task> tasks_;
  bool stopped_ = false;
  bool ending_ = false;
  bool woken_ = false;
  WorkerPool pool_;  // last: its threads use the members above
};

}  // namespace quillbox
