#include "support/RecordingLog.h"

#include <algorithm>

namespace vork::test {

struct RecordingLog::Sink : CommCLog {
    mutable std::mutex mutex;
    std::vector<std::string> lines;
    void logDebug(const std::optional<std::string> &message) override {
        std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(message.value_or("(null)"));
    }
};

RecordingLog::RecordingLog() : sink_(std::make_shared<Sink>()), previous_(CommCLog::defaultLog()) {
    CommCLog::setDefaultLog(sink_);
}

RecordingLog::~RecordingLog() { CommCLog::setDefaultLog(previous_); }

std::vector<std::string> RecordingLog::lines() const {
    std::lock_guard<std::mutex> lock(sink_->mutex);
    return sink_->lines;
}

bool RecordingLog::contains(const std::string &line) const {
    auto all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
}

bool RecordingLog::anyContains(const std::string &fragment) const {
    for (const auto &line : lines())
        if (line.find(fragment) != std::string::npos) return true;
    return false;
}

void RecordingLog::clear() {
    std::lock_guard<std::mutex> lock(sink_->mutex);
    sink_->lines.clear();
}

}  // namespace vork::test
