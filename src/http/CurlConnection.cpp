#include "http/CurlConnection.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "base/CommCLog.h"
#include "base/Format.h"
#include "runloop/RunLoop.h"

namespace vork::http {

using Clock = std::chrono::steady_clock;

namespace {

// Progress reports (body bytes in either direction) are gathered for this
// long before the starting thread is woken, so a caller that polls as fast
// as it can is not woken for every network read.
constexpr auto kProgressPostInterval = std::chrono::milliseconds(10);
constexpr long kReceiveBufferSize = 512 * 1024;
constexpr long kUploadBufferSize = 1024 * 1024;

struct Event {
    enum Kind { Response, Data, Sent, Failed, Finished } kind;
    int status = 0;
    int64_t contentLength = -1;
    bool needsAck = false;
    std::string bytes;    // Data, in memory
    uint64_t length = 0;  // Data
    int32_t sentChunk = 0, sentTotal = 0, sentExpected = 0;
    uint64_t sentEpoch = 0;  // which 4 GiB stretch of the upload the totals lie in
    bool epochFirst = false;
    URLError error;
};

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

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

}  // namespace

OutputFile::~OutputFile() {
    if (fd_ >= 0) ::close(fd_);
}

bool OutputFile::append(const char *data, size_t length) {
    while (length > 0) {
        ssize_t n = ::write(fd_, data, length);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

class Driver;

struct Connection::Job : std::enable_shared_from_this<Connection::Job> {
    ConnectionRequest request;
    std::shared_ptr<RunLoop> loop;
    Driver *driver = nullptr;

    // Starting thread only.
    ConnectionDelegate *delegate = nullptr;

    // Loader thread only.
    CURL *easy = nullptr;
    curl_slist *headerList = nullptr;
    curl_slist *retiredHeaderList = nullptr;
    int bodyFd = -1;
    bool responseQueued = false;
    bool waitingForAck = false;
    bool timedOut = false;
    bool writeFailed = false;
    std::shared_ptr<OutputFile> file;
    Clock::time_point lastActivity;
    curl_off_t lastDownloaded = 0, lastUploaded = 0;
    bool sawSentEvent = false;
    uint64_t lastSentEpoch = 0;
    char errorBuffer[CURL_ERROR_SIZE] = {};

    // Shared, under mutex.
    std::mutex mutex;
    std::deque<Event> events;
    bool drainPosted = false;
    bool postDue = false;  // events wait for the next progress post
    Clock::time_point firstUnposted;
    size_t undeliveredBytes = 0;
    bool pausedForMemory = false;
    bool cancelled = false;

    ~Job() {
        if (easy) curl_easy_cleanup(easy);
        curl_slist_free_all(headerList);
        curl_slist_free_all(retiredHeaderList);
        if (bodyFd >= 0) ::close(bodyFd);
    }

    void touch() { lastActivity = Clock::now(); }

    // Loader thread: queues an event; reports that end or start something
    // wake the starting thread at once, progress waits a little.
    void queue(Event event, bool urgent);
    bool flushIfDue(Clock::time_point now, bool force = false);
    void post();

    // Starting thread.
    void drain();
};

void Connection::Job::post() {
    std::weak_ptr<Job> weak = weak_from_this();
    loop->post([weak] {
        if (auto job = weak.lock()) job->drain();
    });
}

void Connection::Job::queue(Event event, bool urgent) {
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (cancelled) return;
        Event *tail = events.empty() ? nullptr : &events.back();
        if (event.kind == Event::Data && tail && tail->kind == Event::Data) {
            tail->bytes += event.bytes;
            tail->length += event.length;
        } else if (event.kind == Event::Sent && tail && tail->kind == Event::Sent && !tail->epochFirst &&
                   tail->sentEpoch == event.sentEpoch) {
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

bool Connection::Job::flushIfDue(Clock::time_point now, bool force) {
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

// Drives connections with one curl multi handle on one thread.
class Driver {
public:
    enum class Kind { Add, Cancel, Resume, Ack };
    virtual ~Driver() = default;
    // Safe from the job's starting thread.
    virtual void command(Kind kind, std::shared_ptr<Connection::Job> job, std::shared_ptr<OutputFile> file = nullptr) = 0;

protected:
    struct Command {
        Kind kind;
        std::shared_ptr<Connection::Job> job;
        std::shared_ptr<OutputFile> file;
    };

    void apply(Command &command);
    void begin(const std::shared_ptr<Connection::Job> &job);
    void finish(CURL *easy, CURLcode result);
    void end(std::shared_ptr<Connection::Job> job);
    void checkIdle();
    void readMessages();

    CURLM *multi_ = nullptr;
    std::unordered_map<CURL *, std::shared_ptr<Connection::Job>> active_;
};

// The process-wide loader: one thread of its own driving one curl multi
// handle, so connections are shared by every asynchronous transfer.
class Loader : public Driver {
public:
    static Loader &shared() {
        // Never destroyed: the thread lives as long as the process.
        static Loader *loader = new Loader();
        return *loader;
    }

    void command(Kind kind, std::shared_ptr<Connection::Job> job, std::shared_ptr<OutputFile> file) override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            commands_.push_back(Command{kind, std::move(job), std::move(file)});
        }
        curl_multi_wakeup(multi_);
    }

private:
    Loader() {
        multi_ = curl_multi_init();
        thread_ = std::thread([this] { run(); });
        thread_.detach();
    }
    void run();

    std::mutex mutex_;
    std::vector<Command> commands_;
    std::thread thread_;
};

// Drives synchronous exchanges on the calling thread itself, through its
// run loop (curl's sockets and timer become run-loop sources): the bytes
// move while the thread waits for the answer anyway, and a short exchange
// pays for no thread hand-over. Connections are kept per thread.
class LocalDriver : public Driver {
public:
    static LocalDriver &current() {
        thread_local LocalDriver driver;
        return driver;
    }
    ~LocalDriver() override {
        std::vector<std::shared_ptr<Connection::Job>> jobs;
        for (auto &entry : active_) jobs.push_back(entry.second);
        for (auto &job : jobs) end(job);
        for (auto &entry : watches_) loop_->unwatch(entry.second);
        if (timer_) loop_->cancelTimer(timer_);
        if (idleTimer_) loop_->cancelTimer(idleTimer_);
        curl_multi_cleanup(multi_);
    }

    void command(Kind kind, std::shared_ptr<Connection::Job> job, std::shared_ptr<OutputFile> file) override {
        Command c{kind, std::move(job), std::move(file)};
        apply(c);
        readMessages();
        armIdleCheck();
    }

private:
    LocalDriver() : loop_(RunLoop::current()) {
        multi_ = curl_multi_init();
        curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, onSocket);
        curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
        curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, onTimer);
        curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    }

    static int onSocket(CURL *, curl_socket_t fd, int what, void *user, void *) {
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
        } else {
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
        }
        return 0;
    }

    static int onTimer(CURLM *, long timeoutMs, void *user) {
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

    void socketAction(curl_socket_t fd, int mask) {
        int running = 0;
        curl_multi_socket_action(multi_, fd, mask, &running);
        readMessages();
        // Same thread: progress is handed over at once.
        const auto now = Clock::now();
        for (auto &entry : active_) entry.second->flushIfDue(now, true);
    }

    // The idle time-out is checked every 0.1 s while exchanges run.
    void armIdleCheck() {
        if (idleTimer_ || active_.empty()) return;
        idleTimer_ = loop_->addTimer(RunLoop::Seconds(0.1), [this] {
            idleTimer_ = 0;
            checkIdle();
            armIdleCheck();
        });
    }

    std::shared_ptr<RunLoop> loop_;
    std::unordered_map<curl_socket_t, uint64_t> watches_;
    uint64_t timer_ = 0;
    uint64_t idleTimer_ = 0;
};

namespace {

size_t onWrite(char *data, size_t size, size_t count, void *user) {
    auto *job = static_cast<Connection::Job *>(user);
    const size_t length = size * count;
    job->touch();
    if (!job->responseQueued) {
        long status = 0;
        curl_off_t contentLength = -1;
        curl_easy_getinfo(job->easy, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(job->easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &contentLength);
        job->responseQueued = true;
        Event event{Event::Response};
        event.status = static_cast<int>(status);
        event.contentLength = contentLength;
        // The request may replace or remove the output file when it handles
        // this response (a range that was ignored, a failure status): hold
        // the body back until it has.
        event.needsAck = job->file && !(status == 206 || (status == 200 && job->request.resumeOffset == 0));
        job->waitingForAck = event.needsAck;
        job->queue(std::move(event), true);
    }
    if (job->waitingForAck) return CURL_WRITEFUNC_PAUSE;
    if (job->file) {
        if (!job->file->append(data, length)) {
            job->writeFailed = true;
            return 0;
        }
        Event event{Event::Data};
        event.length = length;
        job->queue(std::move(event), false);
        return length;
    }
    {
        std::lock_guard<std::mutex> lock(job->mutex);
        if (job->undeliveredBytes > 0 && job->undeliveredBytes + length > kUndeliveredBytesCap) {
            job->pausedForMemory = true;
            return CURL_WRITEFUNC_PAUSE;
        }
        job->undeliveredBytes += length;
    }
    Event event{Event::Data};
    event.bytes.assign(data, length);
    event.length = length;
    job->queue(std::move(event), false);
    return length;
}

size_t onRead(char *buffer, size_t size, size_t count, void *user) {
    auto *job = static_cast<Connection::Job *>(user);
    for (;;) {
        ssize_t n = ::read(job->bodyFd, buffer, size * count);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return CURL_READFUNC_ABORT;
        job->touch();
        return static_cast<size_t>(n);
    }
}

int onSeek(void *user, curl_off_t offset, int origin) {
    auto *job = static_cast<Connection::Job *>(user);
    return ::lseek(job->bodyFd, offset, origin) < 0 ? CURL_SEEKFUNC_FAIL : CURL_SEEKFUNC_OK;
}

size_t onHeader(char *data, size_t size, size_t count, void *user) {
    auto *job = static_cast<Connection::Job *>(user);
    const size_t length = size * count;
    job->touch();
    // A Digest challenge: curl answers it with a new request, which must not
    // carry the Basic "Authorization" header sent up front as well.
    std::string_view line(data, length);
    constexpr std::string_view kChallenge = "www-authenticate:";
    if (line.size() > kChallenge.size() && equalsIgnoringCase(line.substr(0, kChallenge.size()), kChallenge)) {
        std::string_view value = line.substr(kChallenge.size());
        while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
        if (value.size() >= 6 && equalsIgnoringCase(value.substr(0, 6), "digest") && !job->retiredHeaderList) {
            curl_slist *without = nullptr;
            for (const auto &[name, headerValue] : job->request.headers) {
                if (equalsIgnoringCase(name, "Authorization")) continue;
                without = curl_slist_append(without, headerValue.empty() ? (name + ";").c_str()
                                                                         : (name + ": " + headerValue).c_str());
            }
            job->retiredHeaderList = job->headerList;
            job->headerList = without;
            curl_easy_setopt(job->easy, CURLOPT_HTTPHEADER, job->headerList);
        }
    }
    return length;
}

int onProgress(void *user, curl_off_t, curl_off_t downloaded, curl_off_t uploadTotal, curl_off_t uploaded) {
    auto *job = static_cast<Connection::Job *>(user);
    if (downloaded != job->lastDownloaded || uploaded != job->lastUploaded) job->touch();
    if (uploaded != job->lastUploaded) {
        Event event{Event::Sent};
        const auto written = static_cast<uint64_t>(uploaded);
        event.sentChunk = static_cast<int32_t>(uploaded - job->lastUploaded);
        event.sentTotal = static_cast<int32_t>(static_cast<uint32_t>(written));
        event.sentExpected = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(uploadTotal)));
        event.sentEpoch = written >> 32;
        event.epochFirst = !job->sawSentEvent || event.sentEpoch != job->lastSentEpoch;
        job->sawSentEvent = true;
        job->lastSentEpoch = event.sentEpoch;
        job->queue(std::move(event), false);
    }
    job->lastDownloaded = downloaded;
    job->lastUploaded = uploaded;
    return 0;
}

}  // namespace

void Driver::begin(const std::shared_ptr<Connection::Job> &job) {
    const ConnectionRequest &r = job->request;
    CURL *easy = curl_easy_init();
    job->easy = easy;
    job->file = r.outputFile;
    job->touch();
    curl_easy_setopt(easy, CURLOPT_URL, r.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, job->errorBuffer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, job.get());
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, job.get());
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, job.get());
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 16L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBufferSize);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferSize);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);

    for (const auto &[name, value] : r.headers) {
        std::string line = value.empty() ? name + ";" : name + ": " + value;
        job->headerList = curl_slist_append(job->headerList, line.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, job->headerList);

    int openError = 0;
    // The body size the headers announce, when they do.
    curl_off_t announced = -1;
    for (const auto &[name, value] : r.headers)
        if (equalsIgnoringCase(name, "Content-Length")) announced = std::strtoll(value.c_str(), nullptr, 10);

    const bool post = r.method == "POST";
    if (r.body) {
        if (!post) curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(r.body->size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, r.body->data());
    } else if (r.bodyFilePath) {
        job->bodyFd = ::open(r.bodyFilePath->c_str(), O_RDONLY | O_CLOEXEC);
        openError = errno;
        curl_off_t size = announced;
        if (job->bodyFd >= 0 && size < 0) {
            struct stat st {};
            if (::fstat(job->bodyFd, &st) == 0) size = st.st_size;
        }
        if (!post) curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, onRead);
        curl_easy_setopt(easy, CURLOPT_READDATA, job.get());
        curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, onSeek);
        curl_easy_setopt(easy, CURLOPT_SEEKDATA, job.get());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, size);
    } else if (post) {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(0));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, "");
    } else if (r.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (r.method != "GET") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
    }

    if (r.timeout > 0)
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::max(1.0, r.timeout * 1000.0)));
    if (r.allowInvalidCert) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (r.username && !r.username->empty() && r.password) {
        // Basic goes out with every request as a header; Digest is answered
        // when the server asks for it. Offering curl both methods keeps it
        // from opening with an empty-bodied probe, which it does when Digest
        // is the only method allowed: the first request carries the whole
        // body and the Basic header, and only a Digest challenge costs a
        // second round trip.
        curl_easy_setopt(easy, CURLOPT_USERNAME, r.username->c_str());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, r.password->c_str());
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    }
    if (r.clientIdentity) {
        curl_blob cert{const_cast<char *>(r.clientIdentity->certificatePem.data()),
                       r.clientIdentity->certificatePem.size(), CURL_BLOB_COPY};
        curl_blob key{const_cast<char *>(r.clientIdentity->privateKeyPem.data()),
                      r.clientIdentity->privateKeyPem.size(), CURL_BLOB_COPY};
        curl_easy_setopt(easy, CURLOPT_SSLCERT_BLOB, &cert);
        curl_easy_setopt(easy, CURLOPT_SSLCERTTYPE, "PEM");
        curl_easy_setopt(easy, CURLOPT_SSLKEY_BLOB, &key);
        curl_easy_setopt(easy, CURLOPT_SSLKEYTYPE, "PEM");
    }
    if (r.tls) applyTlsCredentials(easy, *r.tls);

    if (r.bodyFilePath && job->bodyFd < 0) {
        // The body file cannot be read: the connection fails as the
        // platform's body stream would, with the system error.
        const int err = openError;
        Event event{Event::Failed};
        event.error = URLError("NSPOSIXErrorDomain", err,
                               {{kLocalizedDescriptionKey,
                                 stringf("The operation couldn\u2019t be completed. %s", std::strerror(err))}});
        job->queue(std::move(event), true);
        return;
    }
    active_.emplace(easy, job);
    curl_multi_add_handle(multi_, easy);
}

void Driver::end(std::shared_ptr<Connection::Job> job) {
    curl_multi_remove_handle(multi_, job->easy);
    active_.erase(job->easy);
    curl_easy_cleanup(job->easy);
    job->easy = nullptr;
    if (job->bodyFd >= 0) {
        ::close(job->bodyFd);
        job->bodyFd = -1;
    }
}

void Driver::finish(CURL *easy, CURLcode result) {
    auto it = active_.find(easy);
    if (it == active_.end()) return;
    std::shared_ptr<Connection::Job> job = it->second;
    if (!job->responseQueued) {
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        if (status > 0) {
            curl_off_t contentLength = -1;
            curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &contentLength);
            job->responseQueued = true;
            Event event{Event::Response};
            event.status = static_cast<int>(status);
            event.contentLength = contentLength;
            job->queue(std::move(event), true);
        }
    }
    Event event{result == CURLE_OK ? Event::Finished : Event::Failed};
    if (result != CURLE_OK) {
        long code = job->writeFailed ? kURLErrorCannotWriteToFile : urlErrorCodeForCurl(result);
        event.error = URLError::urlError(code, job->request.url, hostOf(job->request.url));
    }
    end(job);
    job->queue(std::move(event), true);
}

void Driver::checkIdle() {
    const auto now = Clock::now();
    std::vector<std::shared_ptr<Connection::Job>> expired;
    for (auto &[easy, job] : active_) {
        job->flushIfDue(now);
        const double timeout = job->request.timeout;
        if (timeout <= 0 || job->waitingForAck) continue;
        {
            std::lock_guard<std::mutex> lock(job->mutex);
            if (job->pausedForMemory) continue;
        }
        if (std::chrono::duration<double>(now - job->lastActivity).count() >= timeout) expired.push_back(job);
    }
    for (auto &job : expired) {
        job->timedOut = true;
        end(job);
        Event event{Event::Failed};
        event.error = URLError::urlError(kURLErrorTimedOut, job->request.url, hostOf(job->request.url));
        job->queue(std::move(event), true);
    }
}

void Driver::apply(Command &command) {
    auto &job = command.job;
    switch (command.kind) {
    case Kind::Add:
        begin(job);
        break;
    case Kind::Cancel:
        if (job->easy && active_.count(job->easy)) end(job);
        break;
    case Kind::Resume:
        if (job->easy && active_.count(job->easy)) {
            job->touch();
            curl_easy_pause(job->easy, CURLPAUSE_CONT);
        }
        break;
    case Kind::Ack:
        job->file = command.file;
        job->waitingForAck = false;
        if (job->easy && active_.count(job->easy)) {
            job->touch();
            curl_easy_pause(job->easy, CURLPAUSE_CONT);
        }
        break;
    }
}

void Driver::readMessages() {
    int left = 0;
    while (CURLMsg *message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) finish(message->easy_handle, message->data.result);
    }
}

void Loader::run() {
    for (;;) {
        std::vector<Command> commands;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            commands.swap(commands_);
        }
        for (Command &command : commands) apply(command);

        int running = 0;
        curl_multi_perform(multi_, &running);
        readMessages();
        checkIdle();
        // Wake for socket activity, curl's own timers, a command, or the next
        // progress post and idle check.
        const int waitMs = active_.empty() ? 1000 : 10;
        curl_multi_poll(multi_, nullptr, 0, waitMs, nullptr);
    }
}

void Connection::Job::drain() {
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
    if (resume) driver->command(Driver::Kind::Resume, self);
    for (Event &e : batch) {
        if (!delegate) return;
        try {
            switch (e.kind) {
            case Event::Response:
                delegate->connectionDidReceiveResponse(e.status, e.contentLength);
                if (e.needsAck && delegate)
                    driver->command(Driver::Kind::Ack, self, delegate->connectionOutputFile());
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

std::shared_ptr<Connection> Connection::start(ConnectionRequest request, ConnectionDelegate *delegate,
                                              bool onCallingThread) {
    static std::once_flag initialized;
    std::call_once(initialized, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    auto job = std::make_shared<Job>();
    job->request = std::move(request);
    job->loop = RunLoop::current();
    job->delegate = delegate;
    job->driver = onCallingThread ? static_cast<Driver *>(&LocalDriver::current()) : &Loader::shared();
    std::shared_ptr<Connection> connection(new Connection(job));
    job->driver->command(Driver::Kind::Add, job);
    return connection;
}

void Connection::cancel() {
    if (!job_) return;
    job_->delegate = nullptr;
    {
        std::lock_guard<std::mutex> lock(job_->mutex);
        job_->cancelled = true;
        job_->events.clear();
    }
    job_->driver->command(Driver::Kind::Cancel, job_);
    job_.reset();
}

Connection::~Connection() { cancel(); }

}  // namespace vork::http
