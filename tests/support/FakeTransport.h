#pragma once
// A scripted transport for tests that gain nothing from a real server: the
// script answers each request with an exchange (status, body, a failure),
// delivered on the starting thread's
// run loop as a real transport would. install() puts it in the transport
// slot for the life of the returned object.
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "http/Transport.h"

namespace vork::test {

struct FakeExchange {
    int status = 200;  // 0: no response at all
    std::string body;
    std::optional<URLError> failure;  // reported instead of the end of loading
};

class FakeTransport : public http::Transport, public std::enable_shared_from_this<FakeTransport> {
public:
    using Script = std::function<FakeExchange(const http::ConnectionRequest &)>;

    explicit FakeTransport(Script script) : script_(std::move(script)) {}
    std::shared_ptr<http::Connection> start(http::ConnectionRequest request, http::ConnectionDelegate &delegate,
                                            http::Submission submission) override;

    std::vector<http::ConnectionRequest> requests() const;

    // Installs a fake in the transport slot until the holder is destroyed.
    struct Installed {
        std::shared_ptr<FakeTransport> fake;
        platform::ServiceSlot<http::Transport>::Override override;
        FakeTransport *operator->() const { return fake.get(); }
    };
    static Installed install(Script script);

private:
    Script script_;
    mutable std::mutex mutex_;
    std::vector<http::ConnectionRequest> requests_;
};

}  // namespace vork::test
