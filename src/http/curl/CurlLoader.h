#pragma once
// The process-wide loader: one thread of its own driving one curl multi
// handle, so connections are shared by every asynchronous transfer. It
// lives as long as the process.
#include <memory>
#include <mutex>
#include <vector>

#include "http/curl/CurlDriver.h"

namespace vork::http::curl {

class Loader : public Driver {
public:
    static std::shared_ptr<Loader> shared();
    void command(Command command) override;

private:
    Loader();
    void run();

    std::mutex mutex_;
    std::vector<Command> commands_;
};

}  // namespace vork::http::curl
