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
    // Posting to the loop of a finished thread is harmless.
    theirs->post([] { FAIL(); });
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(mine->runOnce(RunLoop::Seconds(0.1)), 0u);
    EXPECT_GE(elapsedSeconds(start), 0.1);
}

TEST(RunLoopPost, TasksFromOtherThreadsWakeTheLoopAndRunOnItsThreadLosingNothing) {
    auto loop = RunLoop::current();
    std::atomic<int> count{0};
    std::atomic<bool> elsewhere{false};
    const auto self = std::this_thread::get_id();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            std::this_thread::sleep_for(20ms);
            for (int i = 0; i < 1000; ++i)
                loop->post([&] {
                    elsewhere = elsewhere || std::this_thread::get_id() != self;
                    ++count;
                });
        });
    // A generous limit: the posts must end the wait, not the limit.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_GT(loop->runOnce(RunLoop::Seconds(30)), 0u);
    EXPECT_LT(elapsedSeconds(start), 10.0);
    for (auto &t : threads) t.join();
    while (count < 4000 && loop->runOnce(RunLoop::Seconds(0.5)) > 0) {
    }
    EXPECT_EQ(count, 4000);
    EXPECT_FALSE(elsewhere);
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

TEST(RunLoopTimer, FiresOnceAfterItsDelayDueTimersRunInDeadlineOrderAndOneAddedByATimerWaitsForTheNextPass) {
    auto loop = RunLoop::current();
    std::vector<int> order;
    auto start = std::chrono::steady_clock::now();
    loop->addTimer(RunLoop::Seconds(0.05), [&] { order.push_back(0); });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_GE(elapsedSeconds(start), 0.05);
    loop->addTimer(RunLoop::Seconds(0.03), [&] {
        order.push_back(2);
        loop->addTimer(RunLoop::Seconds(0), [&] { order.push_back(3); });
    });
    loop->addTimer(RunLoop::Seconds(0.01), [&] { order.push_back(1); });
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0)), 2u);
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.05)), 1u);
    EXPECT_EQ(loop->pendingTimers(), 0u);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.06)), 0u);
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
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

TEST(RunLoopWatch, DescriptorsCallBackOnTheLoopUntilUnwatchedEvenFromInside) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    auto loop = RunLoop::current();
    int reads = 0, writable = 0;
    uint64_t reader = 0;
    reader = loop->watch(fds[0], RunLoop::Readable, [&](unsigned events) {
        reads += (events & RunLoop::Readable) != 0;
        loop->unwatch(reader);
    });
    auto writer = loop->watch(fds[1], 0, [&](unsigned events) { writable += (events & RunLoop::Writable) != 0; });
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.02)), 0u);
    ASSERT_EQ(write(fds[1], "xy", 2), 2);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(0.02)), 0u);  // still readable, but unwatched
    EXPECT_EQ(reads, 1);
    loop->modifyWatch(writer, RunLoop::Writable);
    EXPECT_EQ(loop->runOnce(RunLoop::Seconds(5)), 1u);
    EXPECT_EQ(writable, 1);
    loop->unwatch(writer);
    close(fds[0]);
    close(fds[1]);
}

}  // namespace
