#include "http/curl/CurlDriver.h"

#include <cstring>
#include <vector>

#include "base/Format.h"
#include "http/curl/CurlCallbacks.h"
#include "http/curl/CurlEasyOptions.h"

namespace vork::http::curl {

namespace {

std::string hostOf(const std::string &url) {
    std::string host;
    if (CURLU *u = curl_url()) {
        if (curl_url_set(u, CURLUPART_URL, url.c_str(), 0) == CURLUE_OK) {
            char *h = nullptr;
            if (curl_url_get(u, CURLUPART_HOST, &h, 0) == CURLUE_OK && h) host = h;
            curl_free(h);
        }
        curl_url_cleanup(u);
    }
    return host;
}

constexpr size_t kSpareHandles = 4;

}  // namespace

Driver::~Driver() {
    for (CURL *easy : spare_) curl_easy_cleanup(easy);
}

void Driver::begin(const std::shared_ptr<Job> &job) {
    CURL *easy = nullptr;
    if (!spare_.empty()) {
        easy = spare_.back();
        spare_.pop_back();
    }
    if (const int openError = configureEasyHandle(*job, easy)) {
        // The body file cannot be read: the connection fails as the
        // platform's body stream would, with the system error.
        Event event{Event::Failed};
        event.error = URLError("NSPOSIXErrorDomain", openError,
                               {{kLocalizedDescriptionKey, stringf("The operation couldn\u2019t be completed. %s",
                                                                   std::strerror(openError))}});
        job->queue(std::move(event), true);
        return;
    }
    active_.emplace(job->easy, job);
    curl_multi_add_handle(multi_, job->easy);
}

void Driver::end(const std::shared_ptr<Job> &job, bool completed) {
    if (!job->easy) return;
    curl_multi_remove_handle(multi_, job->easy);
    active_.erase(job->easy);
    // Only a handle whose transfer came to its end is kept (one cancelled,
    // timed out or paused midway is not), and not one that verified a server
    // with the trust settings' authorities: its TLS sessions must not
    // outlive them.
    const bool extraTrust = job->request.tls && !job->request.tls->extraAuthorities.empty();
    if (completed && !extraTrust && spare_.size() < kSpareHandles) {
        curl_easy_reset(job->easy);
        spare_.push_back(job->easy);
    } else {
        curl_easy_cleanup(job->easy);
    }
    job->easy = nullptr;
}

void Driver::finish(CURL *easy, CURLcode result) {
    auto it = active_.find(easy);
    if (it == active_.end()) return;
    std::shared_ptr<Job> job = it->second;
    if (!job->responseQueued) {
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        if (status > 0) {
            job->responseQueued = true;
            job->queue(responseEvent(*job), true);
        }
    }
    // The whole body is on disk before the end is reported.
    if (!job->flushFile() && result == CURLE_OK) {
        job->writeFailed = true;
        result = CURLE_WRITE_ERROR;
    }
    Event event{result == CURLE_OK ? Event::Finished : Event::Failed};
    if (result != CURLE_OK) {
        long code = job->writeFailed ? kURLErrorCannotWriteToFile : urlErrorCodeForCurl(result);
        event.error = URLError::urlError(code, job->request.url, hostOf(job->request.url));
    }
    end(job, result == CURLE_OK);
    job->resetAttempt();
    job->queue(std::move(event), true);
}

void Driver::checkIdle() {
    const auto now = Clock::now();
    std::vector<std::shared_ptr<Job>> expired;
    for (auto &[easy, job] : active_) {
        if (!job->flushFileIfDue(now)) job->writeFailed = true;
        job->flushIfDue(now);
        const double timeout = job->request.timeout;
        if (!(timeout > 0) || job->waitingForAck) continue;
        {
            std::lock_guard<std::mutex> lock(job->mutex);
            if (job->pausedForMemory) continue;
        }
        if (std::chrono::duration<double>(now - job->lastActivity).count() >= timeout) expired.push_back(job);
    }
    for (auto &job : expired) {
        job->flushFile();
        end(job);
        job->resetAttempt();
        Event event{Event::Failed};
        event.error = URLError::urlError(kURLErrorTimedOut, job->request.url, hostOf(job->request.url));
        job->queue(std::move(event), true);
    }
}

void Driver::apply(Command &command) {
    auto &job = command.job;
    const bool active = job->easy && active_.count(job->easy);
    switch (command.kind) {
    case Kind::Add:
        begin(job);
        break;
    case Kind::Cancel:
        end(job);
        job->resetAttempt();
        break;
    case Kind::Resume:
        if (active) {
            job->touch();
            curl_easy_pause(job->easy, CURLPAUSE_CONT);
        }
        break;
    case Kind::Ack:
        job->flushFile();
        job->file = command.file;
        job->waitingForAck = false;
        if (active) {
            job->touch();
            curl_easy_pause(job->easy, CURLPAUSE_CONT);
        }
        break;
    case Kind::Retry:
        // The delegate answered a challenge with a credential: a new attempt
        // carries it; reports of the old one are dropped.
        end(job);
        job->resetAttempt();
        ++job->attempt;
        job->request.username = command.credential->user;
        job->request.password = command.credential->password;
        begin(job);
        break;
    }
}

void Driver::readMessages() {
    int left = 0;
    while (CURLMsg *message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) finish(message->easy_handle, message->data.result);
    }
}

}  // namespace vork::http::curl
