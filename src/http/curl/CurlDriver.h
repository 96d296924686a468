#pragma once
// Drives jobs with one curl multi handle. Two engines share this: the
// process-wide loader thread (asynchronous submissions) and a per-thread
// engine on the caller's own run loop (synchronous submissions).
#include <curl/curl.h>

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "http/curl/CurlJob.h"

namespace vork::http::curl {

class Driver {
public:
    enum class Kind { Add, Cancel, Resume, Ack, Retry };
    struct Command {
        Kind kind;
        std::shared_ptr<Job> job;
        std::shared_ptr<OutputFile> file;         // Ack: where the body goes now
        std::optional<URLCredential> credential;  // Retry: the credential to send
    };

    virtual ~Driver();
    // Safe from the job's starting thread.
    virtual void command(Command command) = 0;

protected:
    void apply(Command &command);
    void begin(const std::shared_ptr<Job> &job);
    void finish(CURL *easy, CURLcode result);
    // Takes the job's handle off the multi handle; a handle whose transfer
    // completed may be kept for the next job.
    void end(const std::shared_ptr<Job> &job, bool completed = false);
    void checkIdle();
    void readMessages();

    CURLM *multi_ = nullptr;
    std::unordered_map<CURL *, std::shared_ptr<Job>> active_;

private:
    // Easy handles of finished jobs, reset and kept for the next ones: a
    // new handle costs more than a server call's own work.
    std::vector<CURL *> spare_;
};

}  // namespace vork::http::curl
