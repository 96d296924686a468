#include "http/curl/CurlJob.h"

#include <algorithm>
#include <cctype>

#include "base/CommCLog.h"
#include "http/curl/CurlDriver.h"
#include "runloop/RunLoop.h"

namespace vork::http::curl {

namespace {
// Progress reports (body bytes in either direction) are gathered for this
// long before the starting thread is woken, so a caller that polls as fast
// as it can is not woken for every network read.
constexpr auto kProgressPostInterval = std::chrono::milliseconds(10);
// Body bytes bound for a file are written in pieces of this size: one
// system call per piece instead of one per network read (16 KiB over TLS).
constexpr size_t kFileWriteSize = 256 * 1024;
}  // namespace

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

Job::~Job() { resetAttempt(); }

void Job::resetAttempt() {
    flushFile();
    unwritten = std::string();
    if (easy) curl_easy_cleanup(easy);
    easy = nullptr;
    curl_slist_free_all(headerList);
    curl_slist_free_all(retiredHeaderList);
    headerList = retiredHeaderList = nullptr;
    body.reset();
    bodyOffset = bodySize = 0;
    responseQueued = waitingForAck = writeFailed = sawSentEvent = false;
    lastDownloaded = lastUploaded = 0;
    lastSentEpoch = 0;
    challengeHeader.clear();
}

bool Job::appendToFile(const char *data, size_t length) {
    if (unwritten.size() + length > kFileWriteSize && !flushFile()) return false;
    if (length >= kFileWriteSize) {
        if (!file->append(data, length)) return false;
        Event event{Event::Data};
        event.length = length;
        queue(std::move(event), false);
        return true;
    }
    if (unwritten.empty()) {
        unwritten.reserve(kFileWriteSize);
        firstUnwritten = Clock::now();
    }
    unwritten.append(data, length);
    return true;
}

bool Job::flushFile() {
    if (unwritten.empty()) return true;
    const bool written = file && file->append(unwritten.data(), unwritten.size());
    if (written) {
        Event event{Event::Data};
        event.length = unwritten.size();
        queue(std::move(event), false);
    }
    unwritten.clear();
    return written;
}

bool Job::flushFileIfDue(Clock::time_point now) {
    return unwritten.empty() || now - firstUnwritten < kProgressPostInterval || flushFile();
}

void Job::post() {
    std::weak_ptr<Job> weak = weak_from_this();
    loop->post([weak] {
        if (auto job = weak.lock()) job->drain();
    });
}

void Job::queue(Event event, bool urgent) {
    event.attempt = attempt;
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (cancelled) return;
        Event *tail = events.empty() ? nullptr : &events.back();
        if (event.kind == Event::Data && tail && tail->kind == Event::Data && tail->attempt == event.attempt) {
            tail->bytes += event.bytes;
            tail->length += event.length;
        } else if (event.kind == Event::Sent && tail && tail->kind == Event::Sent && !tail->epochFirst &&
                   tail->sentEpoch == event.sentEpoch && tail->attempt == event.attempt) {
            tail->sentChunk += event.sentChunk;
            tail->sentTotal = event.sentTotal;
            tail->sentExpected = event.sentExpected;
        } else {
            events.push_back(std::move(event));
        }
        if (!drainPosted) {
            if (urgent) {
                drainPosted = true;
                postDue = false;
                wake = true;
            } else if (!postDue) {
                postDue = true;
                firstUnposted = Clock::now();
            }
        }
    }
    if (wake) post();
}

bool Job::flushIfDue(Clock::time_point now, bool force) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (postDue && !drainPosted && (force || now - firstUnposted >= kProgressPostInterval)) {
            postDue = false;
            drainPosted = true;
            wake = true;
        }
    }
    if (wake) post();
    return wake;
}

bool Job::answerChallenge(const Event &response) {
    AuthenticationChallenge challenge = *response.challenge;
    if (!delegate->connectionCanAuthenticateAgainstProtectionSpace(challenge.method)) return false;
    if (challenge.proposedCredential) challenge.previousFailureCount = challengeFailures + 1;
    ChallengeSender sender;
    delegate->connectionDidReceiveAuthenticationChallenge(challenge, sender);
    const ChallengeSender::Answer answer = sender.decision();
    auto engine = driver.lock();
    if (!delegate || !engine || answer.kind != ChallengeSender::Kind::UseCredential || !answer.credential ||
        !answer.credential->user || !answer.credential->password)
        return false;  // the refusal is delivered as it came
    if (challenge.proposedCredential) ++challengeFailures;
    acceptedAttempt = response.attempt + 1;
    engine->command({Driver::Kind::Retry, shared_from_this(), nullptr, answer.credential});
    return true;
}

void Job::drain() {
    std::deque<Event> batch;
    bool resume = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        batch.swap(events);
        drainPosted = false;
        postDue = false;
        for (const Event &e : batch)
            if (e.kind == Event::Data) undeliveredBytes -= e.bytes.size();
        if (pausedForMemory && undeliveredBytes <= kUndeliveredBytesCap / 2) {
            pausedForMemory = false;
            resume = true;
        }
    }
    auto self = shared_from_this();
    auto engine = driver.lock();
    if (resume && engine) engine->command({Driver::Kind::Resume, self});
    for (Event &e : batch) {
        if (!delegate) return;
        if (e.attempt < acceptedAttempt) continue;
        try {
            switch (e.kind) {
            case Event::Response:
                if (e.challenge && answerChallenge(e)) continue;
                delegate->connectionDidReceiveResponse(e.status, e.contentLength);
                if (e.needsAck && delegate && engine)
                    engine->command({Driver::Kind::Ack, self, delegate->connectionOutputFile()});
                break;
            case Event::Data:
                delegate->connectionDidReceiveData(e.bytes, e.length);
                break;
            case Event::Sent:
                delegate->connectionDidSendBodyData(e.sentChunk, e.sentTotal, e.sentExpected);
                break;
            case Event::Failed:
                delegate->connectionDidFailWithError(e.error);
                break;
            case Event::Finished:
                delegate->connectionDidFinishLoading();
                break;
            }
        } catch (const std::exception &error) {
            logDebugf("VORKHTTPRequest connection report failed: %s", error.what());
        }
    }
}

}  // namespace vork::http::curl
