#pragma once
// A small scriptable HTTP/1.1 server on 127.0.0.1 (ephemeral port) for the
// answers a stock web server will not give on demand: a status sequence,
// a connection cut in the middle of a body, a 200 answer to a ranged
// request, a reply slower than the client's time-out, an authentication
// challenge. Each request is answered by the handler; every request is
// recorded with its headers, body and arrival time.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vork::test {

struct FaultRequest {
    std::string method;
    std::string target;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;
    int connection = 0;       // which accepted connection carried it
    std::chrono::steady_clock::time_point arrived;

    std::string header(const std::string &lowerName) const {
        auto it = headers.find(lowerName);
        return it == headers.end() ? std::string() : it->second;
    }
};

struct FaultReply {
    int status = 200;
    std::string reason;  // "Status" when empty
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    double delaySeconds = 0;                // wait before answering
    std::optional<size_t> cutAfterBodyBytes;  // announce the whole body, send only this much, close
    double trickleSeconds = 0;              // send the body in ten pieces spread over this time
};

class FaultServer {
public:
    using Handler = std::function<FaultReply(const FaultRequest &)>;

    explicit FaultServer(Handler handler);
    ~FaultServer();
    FaultServer(const FaultServer &) = delete;
    FaultServer &operator=(const FaultServer &) = delete;

    int port() const { return port_; }
    std::string url(const std::string &path) const;
    std::vector<FaultRequest> requests() const;
    size_t requestCount() const { return requests().size(); }

private:
    void acceptLoop();
    void serve(int fd, int connection);
    bool waitOrStop(double seconds);

    Handler handler_;
    int listenFd_ = -1;
    int port_ = 0;
    std::thread acceptThread_;
    mutable std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    std::vector<std::thread> connections_;
    std::vector<int> connectionFds_;
    std::vector<FaultRequest> requests_;
};

}  // namespace vork::test
