// The run loop on Linux: an epoll set per loop, with an eventfd that posts
// from other threads write to, and the earliest timer as the wait's limit.
// The interface (src/runloop/RunLoop.h) says nothing about the mechanism.
#include "runloop/RunLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <system_error>

namespace vork {

namespace {
constexpr uint64_t kWakeTag = 0;

unsigned toEpoll(unsigned events) {
    unsigned e = 0;
    if (events & RunLoop::Readable) e |= EPOLLIN;
    if (events & RunLoop::Writable) e |= EPOLLOUT;
    return e;
}

unsigned fromEpoll(uint32_t e) {
    unsigned events = 0;
    if (e & (EPOLLIN | EPOLLHUP | EPOLLRDHUP)) events |= RunLoop::Readable;
    if (e & EPOLLOUT) events |= RunLoop::Writable;
    if (e & (EPOLLERR | EPOLLHUP)) events |= RunLoop::Error;
    return events;
}
}  // namespace

std::shared_ptr<RunLoop> RunLoop::current() {
    thread_local std::shared_ptr<RunLoop> loop(new RunLoop());
    return loop;
}

RunLoop::RunLoop() : owner_(std::this_thread::get_id()) {
    epollFd_ = epoll_create1(EPOLL_CLOEXEC);
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (epollFd_ < 0 || wakeFd_ < 0) throw std::system_error(errno, std::generic_category(), "run loop");
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.u64 = kWakeTag;
    epoll_ctl(epollFd_, EPOLL_CTL_ADD, wakeFd_, &ev);
}

RunLoop::~RunLoop() {
    if (wakeFd_ >= 0) close(wakeFd_);
    if (epollFd_ >= 0) close(epollFd_);
}

void RunLoop::post(Task task) {
    {
        std::lock_guard<std::mutex> lock(postedMutex_);
        posted_.push_back(std::move(task));
    }
    if (std::this_thread::get_id() == owner_) return;
    if (!wakePending_.exchange(true, std::memory_order_acq_rel)) {
        uint64_t one = 1;
        ssize_t n = write(wakeFd_, &one, sizeof one);
        (void)n;
    }
}

size_t RunLoop::runPosted() {
    std::vector<Task> batch;
    {
        std::lock_guard<std::mutex> lock(postedMutex_);
        batch.swap(posted_);
    }
    for (Task &task : batch) task();
    return batch.size();
}

size_t RunLoop::runDueTimers() {
    size_t handled = 0;
    const auto now = Clock::now();
    // Only timers due at entry run now; a timer added by a timer waits for
    // the next pass.
    std::vector<Task> due;
    while (!timers_.empty() && timers_.begin()->first <= now) {
        auto it = timers_.begin();
        timerIndex_.erase(it->second.id);
        due.push_back(std::move(it->second.task));
        timers_.erase(it);
    }
    for (Task &task : due) {
        task();
        ++handled;
    }
    return handled;
}

size_t RunLoop::runReady() { return runPosted() + runDueTimers(); }

size_t RunLoop::runOnce(Seconds limit) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    for (;;) {
        size_t handled = runReady();
        if (handled) return handled;

        auto wakeAt = deadline;
        if (!timers_.empty() && timers_.begin()->first < wakeAt) wakeAt = timers_.begin()->first;
        auto now = Clock::now();
        int timeoutMs = 0;
        if (wakeAt > now) {
            double ms = std::chrono::duration<double, std::milli>(wakeAt - now).count();
            timeoutMs = static_cast<int>(std::ceil(ms));
        }

        epoll_event events[64];
        int n = epoll_wait(epollFd_, events, 64, timeoutMs);
        if (n < 0 && errno != EINTR) return 0;
        for (int i = 0; i < n; ++i) {
            if (events[i].data.u64 == kWakeTag) {
                uint64_t value;
                ssize_t r = read(wakeFd_, &value, sizeof value);
                (void)r;
                wakePending_.store(false, std::memory_order_release);
                continue;
            }
            auto it = watches_.find(events[i].data.u64);
            if (it == watches_.end()) continue;
            auto callback = it->second.callback;  // survives an unwatch from inside
            (*callback)(fromEpoll(events[i].events));
            ++handled;
        }
        handled += runReady();
        if (handled) return handled;
        if (Clock::now() >= deadline) return 0;
    }
}

uint64_t RunLoop::addTimer(Seconds delay, Task task) {
    const uint64_t id = nextId_++;
    auto when = Clock::now() + std::chrono::duration_cast<Clock::duration>(delay);
    auto it = timers_.emplace(when, Timer{id, std::move(task)});
    timerIndex_.emplace(id, it);
    return id;
}

bool RunLoop::cancelTimer(uint64_t id) {
    auto it = timerIndex_.find(id);
    if (it == timerIndex_.end()) return false;
    timers_.erase(it->second);
    timerIndex_.erase(it);
    return true;
}

uint64_t RunLoop::watch(int fd, unsigned events, WatchCallback callback) {
    const uint64_t id = nextId_++;
    epoll_event ev{};
    ev.events = toEpoll(events);
    ev.data.u64 = id;
    if (epoll_ctl(epollFd_, EPOLL_CTL_ADD, fd, &ev) != 0)
        throw std::system_error(errno, std::generic_category(), "run loop watch");
    watches_.emplace(id, Watch{fd, events, std::make_shared<WatchCallback>(std::move(callback))});
    return id;
}

void RunLoop::modifyWatch(uint64_t id, unsigned events) {
    auto it = watches_.find(id);
    if (it == watches_.end()) return;
    epoll_event ev{};
    ev.events = toEpoll(events);
    ev.data.u64 = id;
    epoll_ctl(epollFd_, EPOLL_CTL_MOD, it->second.fd, &ev);
    it->second.events = events;
}

void RunLoop::unwatch(uint64_t id) {
    auto it = watches_.find(id);
    if (it == watches_.end()) return;
    epoll_ctl(epollFd_, EPOLL_CTL_DEL, it->second.fd, nullptr);
    watches_.erase(it);
}

}  // namespace vork
