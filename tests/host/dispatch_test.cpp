#include "host/linux/dispatch.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/manual_dispatch.h"

namespace quillbox {
namespace {

using namespace std::chrono_literals;

TEST(RunLoopDispatch, MainTasksRunInOrderOnTheMainThreadOnly) {
  RunLoopDispatch dispatch;
  std::vector<int> order;
  std::atomic<int> offMain = 0;
  constexpr int count = 200;
  for (int i = 0; i < count; ++i) {
    dispatch.background(i % 2 == 0 ? QualityOfService::userInitiated : QualityOfService::utility, [&] {
      if (dispatch.isMain()) ++offMain;
      int mine = 0;
      dispatch.syncMain([&] { mine = static_cast<int>(order.size()); });
      dispatch.main([&, mine] { order.push_back(mine); });
    });
  }
  dispatch.runMainUntil([&] { return order.size() == count; });
  EXPECT_EQ(offMain, 0);
  EXPECT_TRUE(dispatch.isMain());
  bool ran = false;
  dispatch.syncMain([&] { ran = true; });
  EXPECT_TRUE(ran);
  for (int i = 0; i < 3; ++i) dispatch.main([&, i] { order.push_back(1000 + i); });
  dispatch.drain();
  EXPECT_EQ((std::vector<int>(order.end() - 3, order.end())), (std::vector<int>{1000, 1001, 1002}));
}

TEST(RunLoopDispatch, SerialQueuesKeepTheirOrderAndFinishWhenDestroyed) {
  RunLoopDispatch dispatch;
  std::vector<int> first;
  std::vector<int> second;
  int seenBySync = -1;
  {
    const auto one = dispatch.serialQueue("one");
    const auto two = dispatch.serialQueue("two");
    for (int i = 0; i < 500; ++i) {
      one->async([&first, i] { first.push_back(i); });
      two->async([&second, i] { second.push_back(i); });
      if (i == 250) one->sync([&] { seenBySync = static_cast<int>(first.size()); });
    }
  }
  std::vector<int> expected(500);
  for (int i = 0; i < 500; ++i) expected[static_cast<std::size_t>(i)] = i;
  EXPECT_EQ(first, expected);
  EXPECT_EQ(second, expected);
  EXPECT_EQ(seenBySync, 251);
}

TEST(RunLoopDispatch, DelayedWorkWaitsItsTimeAndCancelledWorkNeverRuns) {
  RunLoopDispatch dispatch;
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::string> ran;
  std::atomic<bool> background = false;
  dispatch.mainAfter(30ms, [&] { ran.push_back("late"); });
  dispatch.mainAfter(10ms, [&] { ran.push_back("early"); });
  dispatch.backgroundAfter(1ms, [&] { background = true; });
  dispatch.mainAfter(2ms, [&] { ran.push_back("never"); })->cancel();
  dispatch.mainAfter(std::chrono::nanoseconds::max(), [&] { ran.push_back("never"); });
  dispatch.runMainUntil([&] { return ran.size() == 2 && background; });
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
  EXPECT_EQ(ran, (std::vector<std::string>{"early", "late"}));

  // Cancelled after its time came, before the main queue reached it.
  std::atomic<bool> due = false;
  const auto work = dispatch.mainAfter(0ns, [&] { ran.push_back("never"); });
  dispatch.backgroundAfter(5ms, [&] { due = true; });
  while (!due) std::this_thread::yield();
  work->cancel();
  dispatch.drain();
  EXPECT_EQ(ran.size(), 2U);
}

TEST(RunLoopDispatch, DrainRunsEverythingThatIsUnderWayButNoDelayedWork) {
  RunLoopDispatch dispatch;
  std::atomic<int> completed = 0;
  bool late = false;
  dispatch.mainAfter(24h, [&] { late = true; });
  for (int i = 0; i < 20; ++i) {
    dispatch.background(QualityOfService::utility, [&] {
      dispatch.main([&] {
        dispatch.background(QualityOfService::userInitiated, [&] { dispatch.main([&] { ++completed; }); });
      });
    });
  }
  dispatch.drain();
  EXPECT_EQ(completed, 20);
  EXPECT_FALSE(late);
}

TEST(RunLoopDispatch, StopEndsTheLoopFromAnywhere) {
  RunLoopDispatch dispatch;
  dispatch.background(QualityOfService::utility, [&] { dispatch.stopMain(); });
  dispatch.runMain();
  dispatch.stopMain();
  dispatch.runMain();  // asked for before it began
  int timesRun = 0;
  dispatch.main([&] { ++timesRun; });
  EXPECT_FALSE(dispatch.runMainUntil([&] { return timesRun > 1; }, 5ms));
  EXPECT_EQ(timesRun, 1);
}

TEST(RunLoopDispatch, EndsWhileTasksWaitForAMainQueueThatNoLongerRuns) {
  const auto alive = std::make_shared<int>(0);
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> started = 0;
    std::atomic<bool> ranOnMain = false;
    {
      RunLoopDispatch dispatch;
      for (int i = 0; i < 4; ++i) {
        dispatch.background(QualityOfService::userInitiated, [&, alive] {
          ++started;
          dispatch.syncMain([&] { ranOnMain = true; });
        });
      }
      dispatch.main([alive] {});
      dispatch.mainAfter(1h, [alive] {});
      while (started == 0) std::this_thread::yield();
    }
    EXPECT_FALSE(ranOnMain);
    EXPECT_EQ(alive.use_count(), 1);
  }
}

TEST(ManualDispatch, MovesOnlyWhenToldAndInTheOrderOfTime) {
  ManualClock clock;
  ManualDispatch dispatch(clock);
  const auto start = clock.now();
  std::vector<std::string> log;
  const auto queue = dispatch.serialQueue("q");
  dispatch.background(QualityOfService::utility, [&] {
    EXPECT_FALSE(dispatch.isMain());
    dispatch.syncMain([&] { log.push_back(dispatch.isMain() ? "synced" : "wrong"); });
    dispatch.main([&] { log.push_back("completion"); });
  });
  queue->async([&] { log.push_back("serial"); });
  dispatch.mainAfter(2s, [&] { log.push_back("two"); });
  dispatch.mainAfter(1s, [&] {
    log.push_back("one");
    dispatch.mainAfter(500ms, [&] { log.push_back("one and a half"); });
  });
  dispatch.backgroundAfter(1s, [&] { log.push_back(dispatch.isMain() ? "wrong" : "background"); });
  auto cancelled = dispatch.mainAfter(1s, [&] { log.push_back("cancelled"); });
  cancelled->cancel();
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(dispatch.pendingDelayed(), 3U);
  dispatch.advance(1s);
  EXPECT_EQ(log, (std::vector<std::string>{"synced", "completion", "serial", "one", "background"}));
  dispatch.advance(10s);
  EXPECT_EQ((std::vector<std::string>(log.begin() + 5, log.end())),
            (std::vector<std::string>{"one and a half", "two"}));
  EXPECT_EQ(clock.now() - start, 11s);
}

}  // namespace
}  // namespace quillbox
