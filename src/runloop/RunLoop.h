#pragma once
// The per-thread event loop. Every asynchronous path of the library (HTTP
// transfers, file copies, delayed restarts) delivers what the caller sees
// through the loop of the thread that started it, and only while that thread
// runs the loop (processRunLoop or a polling call).
//
// A loop carries three kinds of sources:
//  - tasks posted from any thread (post), which wake a waiting loop at once;
//  - one-shot timers (addTimer), on the loop's own thread;
//  - file descriptors watched for readiness (watch), on the loop's thread.
// The implementation waits with the system's own mechanism and lives with
// the platform files (src/platform/linux/RunLoop.cpp).
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace vork {

class RunLoop {
public:
    using Task = std::function<void()>;
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    using WatchCallback = std::function<void(unsigned events)>;

    enum Event : unsigned { Readable = 1u, Writable = 2u, Error = 4u };

    // The calling thread's loop, made on first use. Hold the shared pointer
    // to post to this loop from other threads.
    static std::shared_ptr<RunLoop> current();

    ~RunLoop();
    RunLoop(const RunLoop &) = delete;
    RunLoop &operator=(const RunLoop &) = delete;

    // Runs the loop once: handles everything that is ready, or waits until
    // something becomes ready or `limit` has passed. Answers how many
    // sources (tasks, timers, descriptors) were handled. Loop thread only.
    size_t runOnce(Seconds limit);

    // Queues a task to run on the loop's thread. Safe from any thread. A
    // task posted from the loop's own thread runs on its next pass without
    // a wake-up: that thread is not waiting, and every pass runs the queued
    // tasks before it waits.
    void post(Task task);

    // One-shot timer; answers an id for cancelTimer. Loop thread only.
    uint64_t addTimer(Seconds delay, Task task);
    // False when the timer already fired or was unknown.
    bool cancelTimer(uint64_t id);
    size_t pendingTimers() const { return timers_.size(); }

    // Watches a descriptor for the given events. Loop thread only.
    uint64_t watch(int fd, unsigned events, WatchCallback callback);
    void modifyWatch(uint64_t id, unsigned events);
    void unwatch(uint64_t id);

private:
    RunLoop();
    size_t runReady();
    size_t runPosted();
    size_t runDueTimers();

    int epollFd_ = -1;
    int wakeFd_ = -1;
    const std::thread::id owner_;  // the thread whose loop this is

    std::mutex postedMutex_;
    std::vector<Task> posted_;
    std::atomic<bool> wakePending_{false};

    struct Timer {
        uint64_t id;
        Task task;
    };
    std::multimap<Clock::time_point, Timer> timers_;
    std::unordered_map<uint64_t, std::multimap<Clock::time_point, Timer>::iterator> timerIndex_;

    struct Watch {
        int fd;
        unsigned events;
        std::shared_ptr<WatchCallback> callback;
    };
    std::unordered_map<uint64_t, Watch> watches_;
    uint64_t nextId_ = 1;
};

}  // namespace vork
