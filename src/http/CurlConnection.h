#pragma once
// The transport under VORKHTTPRequest: one connection per submission, moved
// by libcurl on one process-wide loader thread (a curl multi handle, so
// connections to the same server are kept and reused across requests).
//
// Bytes move on the loader thread; everything the request observes -- the
// response, data, body-sent progress, failure and finish -- is queued and
// delivered, in order, on the run loop of the thread that started the
// connection, and only while that thread pumps its loop. Undelivered
// in-memory body bytes are bounded: past a cap the transfer is paused until
// the starting thread catches up. A body that goes to a file is written by
// the loader thread as it arrives, and only its length travels to the
// starting thread. A synchronous exchange, whose caller pumps its loop
// until the end anyway, can instead move its bytes on the calling thread.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/TlsCredentials.h"
#include "http/URLCredential.h"
#include "http/URLError.h"

namespace vork {

class RunLoop;

namespace http {

// An open output file, shared by the request that opened it and the loader
// thread that appends the body to it.
class OutputFile {
public:
    OutputFile(std::string path, int fd) : path_(std::move(path)), fd_(fd) {}
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    const std::string &path() const { return path_; }
    int fd() const { return fd_; }
    // Appends at the end of the file; false when the write failed.
    bool append(const char *data, size_t length);

private:
    std::string path_;
    int fd_;
};

// What a connection sends: a snapshot of the URL request.
struct ConnectionRequest {
    std::string url;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    std::shared_ptr<const std::string> body;  // in-memory body, or null
    std::optional<std::string> bodyFilePath;  // body streamed from this file
    double timeout = 60.0;                    // idle time-out in seconds; <= 0 for none
    bool allowInvalidCert = false;            // accept any server certificate
    // Answers HTTP Basic and Digest challenges when both are set.
    std::optional<std::string> username;
    std::optional<std::string> password;
    std::optional<ClientIdentity> clientIdentity;
    std::shared_ptr<const TlsCredentials> tls;  // client identity and extra authorities
    // Where the body goes; null keeps it in memory.
    std::shared_ptr<OutputFile> outputFile;
    // The byte offset asked for with a "Range" header (0 for none).
    int64_t resumeOffset = 0;
};

// The receiver of a connection's reports, on the starting thread.
class ConnectionDelegate {
public:
    virtual ~ConnectionDelegate() = default;
    virtual void connectionDidReceiveResponse(int statusCode, int64_t expectedContentLength) = 0;
    // `bytes` holds the chunk for an in-memory body; for a body that goes to
    // a file it is empty and `length` bytes were already appended.
    virtual void connectionDidReceiveData(std::string_view bytes, uint64_t length) = 0;
    virtual void connectionDidSendBodyData(int32_t bytesWritten, int32_t totalBytesWritten,
                                           int32_t totalBytesExpectedToWrite) = 0;
    virtual void connectionDidFailWithError(const URLError &error) = 0;
    virtual void connectionDidFinishLoading() = 0;
    // The output file to use after a response was handled (the handler may
    // have opened a new one).
    virtual std::shared_ptr<OutputFile> connectionOutputFile() = 0;
};

class Connection {
public:
    // Starts at once; reports reach `delegate` on the calling thread's run
    // loop. The bytes move on the loader thread, or with onCallingThread on
    // the calling thread while it runs its loop (for a caller that waits).
    static std::shared_ptr<Connection> start(ConnectionRequest request, ConnectionDelegate *delegate,
                                             bool onCallingThread = false);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Stops the transfer and drops every report not yet delivered. Starting
    // thread only.
    void cancel();

    struct Job;

private:
    explicit Connection(std::shared_ptr<Job> job) : job_(std::move(job)) {}
    std::shared_ptr<Job> job_;
};

// Cap on in-memory body bytes received but not yet delivered to the
// starting thread; the transfer pauses above it.
constexpr size_t kUndeliveredBytesCap = 8u << 20;

}  // namespace http
}  // namespace vork
