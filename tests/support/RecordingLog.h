#pragma once
// Installs a log that keeps every line, so tests can read what an operation
// reported. The previous default log comes back when the object goes away.
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/CommCLog.h"

namespace vork::test {

class RecordingLog {
public:
    RecordingLog();
    ~RecordingLog();

    std::vector<std::string> lines() const;
    bool contains(const std::string &line) const;
    // Whether any line contains the fragment.
    bool anyContains(const std::string &fragment) const;
    void clear();

private:
    struct Sink;
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<CommCLog> previous_;
};

}  // namespace vork::test
