#pragma once
// The transport under VORKHTTPRequest: what the request needs from an HTTP
// stack, and nothing more. A transport starts one connection per
// submission; the connection reports (response, data, body bytes sent,
// failure, finish, authentication challenge) reach the delegate on the run
// loop of the thread that started it, in order, and only while that thread
// pumps its loop. A connection can be cancelled; nothing is reported after.
//
// The transport in use sits in a service slot: libcurl by default
// (http/curl/), a scripted fake in tests (tests/support/FakeTransport.h).
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/AuthenticationChallenge.h"
#include "http/OutputFile.h"
#include "http/TlsCredentials.h"
#include "http/URLCredential.h"
#include "http/URLError.h"
#include "platform/Service.h"

namespace vork::http {

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
    // Whether the delegate answers challenges of this method; when not, the
    // transport handles the challenge itself (the refusal is delivered).
    virtual bool connectionCanAuthenticateAgainstProtectionSpace(AuthenticationMethod method) = 0;
    virtual void connectionDidReceiveAuthenticationChallenge(const AuthenticationChallenge &challenge,
                                                             ChallengeSender &sender) = 0;
    // The output file to use after a response was handled (the handler may
    // have opened a new one).
    virtual std::shared_ptr<OutputFile> connectionOutputFile() = 0;
};

class Connection {
public:
    virtual ~Connection() = default;
    // Stops the exchange and drops every report not yet delivered. Starting
    // thread only; a no-op once the engine that moved it is gone.
    virtual void cancel() = 0;
};

// Synchronous: the caller pumps its loop until the end anyway, so the
// transport may move the bytes on the calling thread.
enum class Submission { Asynchronous, Synchronous };

class Transport {
public:
    virtual ~Transport() = default;
    // Starts at once; reports reach `delegate` on the calling thread's loop.
    virtual std::shared_ptr<Connection> start(ConnectionRequest request, ConnectionDelegate &delegate,
                                              Submission submission) = 0;
};

// The transport every request uses.
platform::ServiceSlot<Transport> &transport();

}  // namespace vork::http
