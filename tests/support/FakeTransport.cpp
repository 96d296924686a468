#include "support/FakeTransport.h"

#include "runloop/RunLoop.h"

namespace vork::test {

namespace {

class FakeConnection : public http::Connection {
public:
    void cancel() override { *cancelled = true; }
    ~FakeConnection() override { cancel(); }
    std::shared_ptr<bool> cancelled = std::make_shared<bool>(false);
};

}  // namespace

std::shared_ptr<http::Connection> FakeTransport::start(http::ConnectionRequest request,
                                                       http::ConnectionDelegate &delegate, http::Submission) {
    FakeExchange exchange = script_(request);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(request);
    }
    auto connection = std::make_shared<FakeConnection>();
    auto cancelled = connection->cancelled;
    std::weak_ptr<FakeTransport> weak = weak_from_this();
    RunLoop::current()->addTimer(RunLoop::Seconds(0), [weak, exchange, cancelled, &delegate] {
        if (*cancelled || !weak.lock()) return;
        if (exchange.status > 0) {
            delegate.connectionDidReceiveResponse(exchange.status, static_cast<int64_t>(exchange.body.size()));
            if (*cancelled) return;
            if (!exchange.body.empty()) delegate.connectionDidReceiveData(exchange.body, exchange.body.size());
        }
        if (*cancelled) return;
        if (exchange.failure) delegate.connectionDidFailWithError(*exchange.failure);
        else delegate.connectionDidFinishLoading();
    });
    return connection;
}

std::vector<http::ConnectionRequest> FakeTransport::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

FakeTransport::Installed FakeTransport::install(Script script) {
    auto fake = std::make_shared<FakeTransport>(std::move(script));
    auto override = http::transport().install(fake);
    return Installed{std::move(fake), std::move(override)};
}

}  // namespace vork::test
