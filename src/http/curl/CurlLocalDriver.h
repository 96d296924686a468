#pragma once
// Drives synchronous exchanges on the calling thread itself, through its
// run loop (curl's sockets and timer become run-loop sources): the bytes
// move while the thread waits for the answer anyway, and a short exchange
// pays for no thread hand-over. Connections are kept per thread.
//
// The engine belongs to its thread and ends with it: jobs hold it weakly,
// so a connection that outlives the thread (a process-wide transfer used
// by a worker that has exited) finds it gone and does nothing.
#include <cstdint>
#include <memory>
#include <unordered_map>

#include "http/curl/CurlDriver.h"

namespace vork {
class RunLoop;
}

namespace vork::http::curl {

class LocalDriver : public Driver {
public:
    // The calling thread's engine, made on first use.
    static std::shared_ptr<LocalDriver> current();
    LocalDriver();
    ~LocalDriver() override;
    LocalDriver(const LocalDriver &) = delete;
    LocalDriver &operator=(const LocalDriver &) = delete;

    void command(Command command) override;

private:
    static int onSocket(CURL *, curl_socket_t fd, int what, void *user, void *);
    static int onTimer(CURLM *, long timeoutMs, void *user);
    void socketAction(curl_socket_t fd, int mask);
    void armIdleCheck();

    std::shared_ptr<RunLoop> loop_;
    std::unordered_map<curl_socket_t, uint64_t> watches_;
    uint64_t timer_ = 0;
    uint64_t idleTimer_ = 0;
};

}  // namespace vork::http::curl
