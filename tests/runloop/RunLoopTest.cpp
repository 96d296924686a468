#include "runloop/RunLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using vork::RunLoop;
using namespace std::chrono_literals;

namespace {

double elapsedSeconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

TEST(RunLoopIdle, EachThreadHasItsOwnLoopWhichWaitsForTheWholeLimitAndHandlesNothing) {
    auto mine = RunLoop::current();
    std::shared_ptr<RunLoop> theirs;
    std::thread([&] { theirs = RunLoop::current(); }).join();
    EXPECT_NE(mine, theirs);
    EXPECT_EQ(mine, RunLoop::current());
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(mine->runOnce(RunLoop::Seconds(0.1)), 0u);
    EXPECT_GE(elapsedSeconds(start), 0.1);
}

TEST(RunLoopPost, TaskFromAnotherThreadRunsOnTheLoopThreadAndWakesIt) {
    auto loop = RunLoop::current();
    std::atomic<bool> ran{false};
    std::thread::id ranOn;
    std::thread poster([&] {
        std::this_thread::sleep_for(20ms);
        loop->post([&] {
            ranOn = std::this_thread::get_id();
            ran = true;
        });
    });
    // A generous limit: the post must end the wait, not the limit.
    size_t handled = loop->runOnce(RunLoop::Seconds(30));
    poster.join();
    EXPECT_EQ(handled, 1u);
    EXPECT_TRUE(ran);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(RunLoopPost, TasksRunInPostingOrderInOnePassAndATaskPostedByATaskWaitsForTheNext) {
    auto loop = RunLoop::current();
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) loop->post([&order, i] { order.push_back(i); });
    loop->post([&] { loop->post([&] { order.push_back(6); }); });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0)), 6u);
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0)), 1u);
    EXPECT_EQ(order.back(), 6);
}

TEST(RunLoopPost, PostingToTheLoopOfAFinishedThreadIsHarmless) {
    std::shared_ptr<RunLoop> orphan;
    std::thread([&] { orphan = RunLoop::current(); }).join();
    bool ran = false;
    orphan->post([&] { ran = true; });
    orphan.reset();
    EXPECT_FALSE(ran);
}

TEST(RunLoopPost, ManyThreadsPostingConcurrentlyLoseNothing) {
    auto loop = RunLoop::current();
    std::atomic<int> count{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) loop->post([&] { ++count; });
        });
    for (auto &t : threads) t.join();
    while (count < 4000 && loop->runOnce(RunLoop::Seconds(0.5)) > 0) {
    }
    EXPECT_EQ(count, 4000);
}

TEST(RunLoopTimer, FiresOnceAfterItsDelayWhilePumped) {
    auto loop = RunLoop::current();
    int fired = 0;
    auto start = std::chrono::steady_clock::now();
    loop->addTimer(RunLoop::Seconds(0.05), [&] { ++fired; });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_EQ(fired, 1);
    EXPECT_GE(elapsedSeconds(start), 0.05);
    EXPECT_EQ(loop->pendingTimers(), 0u);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.06)), 0u);
    EXPECT_EQ(fired, 1);
}


TEST(RunLoopTimer, DueTimersRunInDeadlineOrder) {
    auto loop = RunLoop::current();
    std::vector<int> order;
    loop->addTimer(RunLoop::Seconds(0.03), [&] { order.push_back(2); });
    loop->addTimer(RunLoop::Seconds(0.01), [&] { order.push_back(1); });
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0)), 2u);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(RunLoopTimer, NotDueWithinTheLimitLeavesItPendingAndACancelledOneNeverRuns) {
    auto loop = RunLoop::current();
    bool fired = false;
    auto late = loop->addTimer(RunLoop::Seconds(10), [&] { fired = true; });
    auto id = loop->addTimer(RunLoop::Seconds(0.01), [&] { fired = true; });
    EXPECT_TRUE(loop->cancelTimer(id));
    EXPECT_FALSE(loop->cancelTimer(id));
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.05)), 0u);
    EXPECT_FALSE(fired);
    EXPECT_EQ(loop->pendingTimers(), 1u);
    EXPECT_TRUE(loop->cancelTimer(late));
}

TEST(RunLoopTimer, TimerScheduledFromATimerRunsOnALaterPass) {
    auto loop = RunLoop::current();
    int fired = 0;
    loop->addTimer(RunLoop::Seconds(0), [&] {
        ++fired;
        loop->addTimer(RunLoop::Seconds(0), [&] { ++fired; });
    });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0)), 1u);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.05)), 1u);
    EXPECT_EQ(fired, 2);
}

class RunLoopWatch : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(pipe(fds_), 0); }
    void TearDown() override {
        close(fds_[0]);
        close(fds_[1]);
    }
    int fds_[2];
};

TEST_F(RunLoopWatch, ReadableDescriptorCallsBackOnTheLoop) {
    auto loop = RunLoop::current();
    unsigned seen = 0;
    auto id = loop->watch(fds_[0], RunLoop::Readable, [&](unsigned events) {
        seen = events;
        char c;
        ASSERT_EQ(read(fds_[0], &c, 1), 1);
    });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.02)), 0u);
    ASSERT_EQ(write(fds_[1], "x", 1), 1);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_TRUE(seen & RunLoop::Readable);
    loop->unwatch(id);
}

TEST_F(RunLoopWatch, UnwatchFromInsideTheCallbackStopsFurtherCalls) {
    auto loop = RunLoop::current();
    int calls = 0;
    uint64_t id = 0;
    id = loop->watch(fds_[0], RunLoop::Readable, [&](unsigned) {
        ++calls;
        loop->unwatch(id);
    });
    ASSERT_EQ(write(fds_[1], "x", 1), 1);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.02)), 0u);
    EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopWatch, WritableInterestCanBeSwitchedOnAndOff) {
    auto loop = RunLoop::current();
    int writable = 0;
    auto id = loop->watch(fds_[1], 0, [&](unsigned events) {
        if (events & RunLoop::Writable) ++writable;
    });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.02)), 0u);
    loop->modifyWatch(id, RunLoop::Writable);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_EQ(writable, 1);
    loop->unwatch(id);
}

}  // namespace
