#include "http/curl/CurlLocalDriver.h"

#include <vector>

#include "runloop/RunLoop.h"

namespace vork::http::curl {

std::shared_ptr<LocalDriver> LocalDriver::current() {
    thread_local std::shared_ptr<LocalDriver> driver = std::make_shared<LocalDriver>();
    return driver;
}

LocalDriver::LocalDriver() : loop_(RunLoop::current()) {
    multi_ = curl_multi_init();
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, onSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, onTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
}

LocalDriver::~LocalDriver() {
    std::vector<std::shared_ptr<Job>> jobs;
    for (auto &entry : active_) jobs.push_back(entry.second);
    for (auto &job : jobs) {
        end(job);
        job->resetAttempt();
    }
    for (auto &entry : watches_) loop_->unwatch(entry.second);
    if (timer_) loop_->cancelTimer(timer_);
    if (idleTimer_) loop_->cancelTimer(idleTimer_);
    curl_multi_cleanup(multi_);
}

void LocalDriver::command(Command command) {
    apply(command);
    readMessages();
    armIdleCheck();
}

int LocalDriver::onSocket(CURL *, curl_socket_t fd, int what, void *user, void *) {
    auto *self = static_cast<LocalDriver *>(user);
    auto it = self->watches_.find(fd);
    if (what == CURL_POLL_REMOVE) {
        if (it != self->watches_.end()) {
            self->loop_->unwatch(it->second);
            self->watches_.erase(it);
        }
        return 0;
    }
    unsigned events = 0;
    if (what & CURL_POLL_IN) events |= RunLoop::Readable;
    if (what & CURL_POLL_OUT) events |= RunLoop::Writable;
    if (it != self->watches_.end()) {
        self->loop_->modifyWatch(it->second, events);
        return 0;
    }
    try {
        self->watches_[fd] = self->loop_->watch(fd, events, [self, fd](unsigned ready) {
            int mask = 0;
            if (ready & RunLoop::Readable) mask |= CURL_CSELECT_IN;
            if (ready & RunLoop::Writable) mask |= CURL_CSELECT_OUT;
            if (ready & RunLoop::Error) mask |= CURL_CSELECT_ERR;
            self->socketAction(fd, mask);
        });
    } catch (...) {
        return -1;
    }
    return 0;
}

int LocalDriver::onTimer(CURLM *, long timeoutMs, void *user) {
    auto *self = static_cast<LocalDriver *>(user);
    if (self->timer_) self->loop_->cancelTimer(self->timer_);
    self->timer_ = 0;
    if (timeoutMs >= 0) {
        self->timer_ = self->loop_->addTimer(RunLoop::Seconds(timeoutMs / 1000.0), [self] {
            self->timer_ = 0;
            self->socketAction(CURL_SOCKET_TIMEOUT, 0);
        });
    }
    return 0;
}

void LocalDriver::socketAction(curl_socket_t fd, int mask) {
    int running = 0;
    curl_multi_socket_action(multi_, fd, mask, &running);
    readMessages();
    // Same thread: progress is handed over at once.
    const auto now = Clock::now();
    for (auto &entry : active_) entry.second->flushIfDue(now, true);
}

// The idle time-out is checked every 0.1 s while exchanges run.
void LocalDriver::armIdleCheck() {
    if (idleTimer_ || active_.empty()) return;
    idleTimer_ = loop_->addTimer(RunLoop::Seconds(0.1), [this] {
        idleTimer_ = 0;
        checkIdle();
        armIdleCheck();
    });
}

}  // namespace vork::http::curl
