#include "http/curl/CurlTransport.h"

#include <mutex>

#include "base/CryptoAtExit.h"
#include "http/curl/CurlLoader.h"
#include "http/curl/CurlLocalDriver.h"
#include "runloop/RunLoop.h"

namespace vork::http {

namespace {

class CurlConnection : public Connection {
public:
    explicit CurlConnection(std::shared_ptr<curl::Job> job) : job_(std::move(job)) {}
    ~CurlConnection() override { cancel(); }

    void cancel() override {
        if (!job_) return;
        job_->delegate = nullptr;
        {
            std::lock_guard<std::mutex> lock(job_->mutex);
            job_->cancelled = true;
            job_->events.clear();
        }
        if (auto engine = job_->driver.lock()) engine->command({curl::Driver::Kind::Cancel, job_});
        job_.reset();
    }

private:
    std::shared_ptr<curl::Job> job_;
};

}  // namespace

std::shared_ptr<Connection> CurlTransport::start(ConnectionRequest request, ConnectionDelegate &delegate,
                                                 Submission submission) {
    static std::once_flag initialized;
    std::call_once(initialized, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    auto job = std::make_shared<curl::Job>();
    job->request = std::move(request);
    job->loop = RunLoop::current();
    job->delegate = &delegate;
    std::shared_ptr<curl::Driver> engine;
    if (submission == Submission::Synchronous) engine = curl::LocalDriver::current();
    else engine = curl::Loader::shared();
    job->driver = engine;
    auto connection = std::make_shared<CurlConnection>(job);
    engine->command({curl::Driver::Kind::Add, job});
    return connection;
}

}  // namespace vork::http
