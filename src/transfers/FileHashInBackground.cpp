#include "transfers/FileHashInBackground.h"

#include "base/CryptoAtExit.h"

namespace vork {

FileHashInBackground::FileHashInBackground() : state_(std::make_shared<State>()) {}

FileHashInBackground::~FileHashInBackground() {
    state_->stopping.store(true, std::memory_order_relaxed);
    for (Worker &worker : workers_) worker.thread.join();
}

void FileHashInBackground::startMD5FileHashOfFilepath(const std::optional<std::string> &path) {
    start(path, DigestType::MD5, 0);
}

void FileHashInBackground::startSHA512FileHashOfFilepath(const std::optional<std::string> &path) {
    start(path, DigestType::SHA2, 512);
}

void FileHashInBackground::MD5Hash(const std::optional<std::string> &path) {
    compute(*state_, path, DigestType::MD5, 0);
}

void FileHashInBackground::SHA512Hash(const std::optional<std::string> &path) {
    compute(*state_, path, DigestType::SHA2, 512);
}

void FileHashInBackground::reset() {
    state_->done.store(false, std::memory_order_release);
    std::lock_guard<std::mutex> lock(state_->valueMutex);
    state_->hashValue.reset();
}

std::optional<std::string> FileHashInBackground::hashValue() const {
    std::lock_guard<std::mutex> lock(state_->valueMutex);
    return state_->hashValue;
}

void FileHashInBackground::compute(State &state, const std::optional<std::string> &path, DigestType type,
                                   int length) {
    auto value = VORKSecurityFileHash::hashOfFileAtPath(path, type, length, nullptr, &state.stopping);
    if (state.stopping.load(std::memory_order_relaxed)) return;
    {
        std::lock_guard<std::mutex> lock(state.valueMutex);
        state.hashValue = std::move(value);
    }
    state.done.store(true, std::memory_order_release);
}

void FileHashInBackground::start(const std::optional<std::string> &path, DigestType type, int length) {
    // Threads whose computation has ended are joined here, so a long-lived
    // hasher does not collect them.
    std::erase_if(workers_, [](Worker &worker) {
        if (!worker.finished->load(std::memory_order_acquire)) return false;
        worker.thread.join();
        return true;
    });
    reset();
    auto finished = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([state = state_, path, type, length, finished] {
        compute(*state, path, type, length);
        finished->store(true, std::memory_order_release);
    });
    workers_.push_back(Worker{std::move(thread), std::move(finished)});
}

}  // namespace vork
