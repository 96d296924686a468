#pragma once
// One exchange of the libcurl transport: the request snapshot, the state
// the engine thread keeps for it, and the queue of reports that travels to
// the starting thread's run loop.
#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "http/Transport.h"
#include "platform/FileAccess.h"

namespace vork {
class RunLoop;
}

namespace vork::http::curl {

using Clock = std::chrono::steady_clock;

// Cap on in-memory body bytes received but not yet delivered to the
// starting thread; the transfer pauses above it.
constexpr size_t kUndeliveredBytesCap = 8u << 20;

class Driver;

struct Event {
    enum Kind { Response, Data, Sent, Failed, Finished } kind;
    uint64_t attempt = 0;  // which attempt of the job queued it
    int status = 0;
    int64_t contentLength = -1;
    bool needsAck = false;
    std::optional<AuthenticationChallenge> challenge;  // Response: a 401 the delegate may answer
    std::string bytes;    // Data, in memory
    uint64_t length = 0;  // Data
    int32_t sentChunk = 0, sentTotal = 0, sentExpected = 0;
    uint64_t sentEpoch = 0;  // which 4 GiB stretch of the upload the totals lie in
    bool epochFirst = false;
    URLError error;
};

struct Job : std::enable_shared_from_this<Job> {
    ConnectionRequest request;
    std::shared_ptr<RunLoop> loop;
    // The engine moving the job; expires with a thread's own engine.
    std::weak_ptr<Driver> driver;

    // Starting thread only.
    ConnectionDelegate *delegate = nullptr;
    int challengeFailures = 0;    // challenges answered with a credential that failed
    uint64_t acceptedAttempt = 0;  // reports of earlier attempts are dropped

    // Engine thread only.
    CURL *easy = nullptr;
    curl_slist *headerList = nullptr;
    curl_slist *retiredHeaderList = nullptr;
    std::unique_ptr<platform::OpenFile> body;  // a body streamed from a file
    uint64_t bodyOffset = 0;                   // where its next read starts
    uint64_t bodySize = 0;
    bool responseQueued = false;
    bool waitingForAck = false;
    bool writeFailed = false;
    std::shared_ptr<OutputFile> file;
    std::string unwritten;  // body bytes gathered for the next write to `file`
    Clock::time_point firstUnwritten;
    Clock::time_point lastActivity;
    curl_off_t lastDownloaded = 0, lastUploaded = 0;
    bool sawSentEvent = false;
    uint64_t lastSentEpoch = 0;
    char errorBuffer[CURL_ERROR_SIZE] = {};
    std::string challengeHeader;  // the last WWW-Authenticate value seen
    uint64_t attempt = 0;         // stamped on every event

    // Shared, under mutex.
    std::mutex mutex;
    std::deque<Event> events;
    bool drainPosted = false;
    bool postDue = false;  // events wait for the next progress post
    Clock::time_point firstUnposted;
    size_t undeliveredBytes = 0;
    bool pausedForMemory = false;
    bool cancelled = false;

    ~Job();

    void touch() { lastActivity = Clock::now(); }
    // Engine thread: frees what the last attempt held and clears its state
    // (body bytes not yet written go to the file first).
    void resetAttempt();
    // Engine thread: a body chunk for the output file. Chunks are gathered
    // and written in large writes; each write is reported as one Data
    // event. False when a write failed.
    bool appendToFile(const char *data, size_t length);
    // Writes the gathered bytes now (always, or only when the oldest has
    // waited a progress interval); false when the write failed.
    bool flushFile();
    bool flushFileIfDue(Clock::time_point now);

    // Engine thread: queues an event; reports that end or start something
    // wake the starting thread at once, progress waits a little.
    void queue(Event event, bool urgent);
    bool flushIfDue(Clock::time_point now, bool force = false);

    // Starting thread: delivers the queued reports.
    void drain();

private:
    void post();
    // Answers a challenge through the delegate; true when the job starts a
    // new attempt with a credential (the rest of the batch is dropped).
    bool answerChallenge(const Event &response);
};

// Both ends compare header names this way.
bool equalsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace vork::http::curl
