#pragma once
// Computes one file digest at a time on a background thread so a caller can
// poll for it. Each start resets the result and starts a thread of its own;
// when computations overlap, the one that finishes last leaves its result.
// The thread stores hashValue and then sets done with release ordering; a
// reader that sees done (acquire) sees that computation's hashValue.
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Export.h"
#include "transfers/VORKSecurityFileHash.h"

namespace vork {

class VORK_EXPORT FileHashInBackground {
public:
    FileHashInBackground();
    // Stops the computations still running (they publish nothing) and waits
    // for their threads.
    ~FileHashInBackground();
    FileHashInBackground(const FileHashInBackground &) = delete;
    FileHashInBackground &operator=(const FileHashInBackground &) = delete;

    void startMD5FileHashOfFilepath(const std::optional<std::string> &path);
    void startSHA512FileHashOfFilepath(const std::optional<std::string> &path);

    // The computations the threads run, usable directly on any thread:
    // hashValue = the digest (none on failure), then done = true.
    void MD5Hash(const std::optional<std::string> &path);
    void SHA512Hash(const std::optional<std::string> &path);

    // done = false, hashValue = none.
    void reset();

    bool done() const { return state_->done.load(std::memory_order_acquire); }
    std::optional<std::string> hashValue() const;

private:
    struct State {
        std::atomic<bool> done{false};
        std::atomic<bool> stopping{false};
        mutable std::mutex valueMutex;
        std::optional<std::string> hashValue;
    };
    struct Worker {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> finished;
    };

    static void compute(State &state, const std::optional<std::string> &path, DigestType type, int length);
    void start(const std::optional<std::string> &path, DigestType type, int length);

    std::shared_ptr<State> state_;
    std::vector<Worker> workers_;
};

}  // namespace vork
