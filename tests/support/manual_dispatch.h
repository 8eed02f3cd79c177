// Queues and time that move only when a test says so.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>

#include "platform/clock.h"
#include "platform/dispatch.h"

namespace quillbox {

// Starts at 2025-01-01 00:00:00 UTC, in UTC. Any thread.
class ManualClock final : public Clock {
 public:
  std::chrono::nanoseconds now() const override { return std::chrono::nanoseconds(wall_.load()); }
  std::chrono::nanoseconds steady() const override { return std::chrono::nanoseconds(steady_.load()); }
  std::chrono::seconds localOffset(std::chrono::nanoseconds) const override {
    return std::chrono::seconds(offset_.load());
  }

  void advance(std::chrono::nanoseconds by) {
    wall_ += by.count();
    steady_ += by.count();
  }
  // The wall clock jumps; the steady one does not notice.
  void setNow(std::chrono::nanoseconds sinceEpoch) { wall_ = sinceEpoch.count(); }
  void setLocalOffset(std::chrono::seconds east) { offset_ = east.count(); }

 private:
  std::atomic<std::int64_t> wall_{1'735'689'600'000'000'000};
  std::atomic<std::int64_t> steady_{1'000'000'000};
  std::atomic<std::int64_t> offset_{0};
};

// Runs nothing by itself. The thread of the test is the main queue, except while it runs a background or
// serial task, when isMain() is false. Tasks may be posted from any thread; the run functions belong to the
// test's.
class ManualDispatch final : public Dispatch {
 public:
  explicit ManualDispatch(ManualClock& clock);
  ~ManualDispatch() override;
  ManualDispatch(const ManualDispatch&) = delete;
  ManualDispatch& operator=(const ManualDispatch&) = delete;

  void main(Task task) override;
  bool isMain() const override;
  void syncMain(const Task& task) override;
  void background(QualityOfService quality, Task task) override;
  std::unique_ptr<SerialQueue> serialQueue(std::string label) override;
  std::shared_ptr<DelayedWork> mainAfter(std::chrono::nanoseconds delay, Task task) override;
  std::shared_ptr<DelayedWork> backgroundAfter(std::chrono::nanoseconds delay, Task task) override;

  // Main tasks until none is left, those that they add included. Returns how many ran.
  std::size_t runMain();
  // The background tasks that wait now (pool first, then serial queues), not what they add.
  std::size_t runBackground();
  // The waiting pool task at this place, 0 being the oldest, so that a test can let tasks overtake each
  // other.
  void runBackgroundTask(std::size_t index);
  // Everything that can run without time passing. Aborts after a million tasks: they never end.
  std::size_t runUntilIdle();
  // Moves the clock by `by`, stopping at every delayed task that comes due to run it and all that follows.
  void advance(std::chrono::nanoseconds by);

  std::size_t pendingMain() const;
  std::size_t pendingBackground() const;  // pool and serial queues
  std::size_t pendingDelayed() const;

 private:
  struct Serial;
  class Queue;
  class Delayed;
  enum class Where { main, background };

  std::shared_ptr<DelayedWork> after(std::chrono::nanoseconds delay, Task task, Where where);
  void runOffMain(const Task& task);
  bool runOneOf(Serial& serial);
  bool runOneSerial();

  ManualClock& clock_;
  mutable std::mutex mutex_;
  std::deque<Task> main_;
  std::deque<Task> background_;
  std::deque<std::weak_ptr<Serial>> serials_;
  std::multimap<std::int64_t, std::shared_ptr<Delayed>> delayed_;  // by steady time, nanoseconds
  bool offMain_ = false;
};

}  // namespace quillbox
