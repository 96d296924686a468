#pragma once
// The library's debug log. The released log is silent: logDebug drops every
// line. Call sites still build their lines, so a later release (or a test
// that installs its own log) sees exactly what each operation reports.
#include <memory>
#include <optional>
#include <string>

#include "base/Export.h"

namespace vork {

class VORK_EXPORT CommCLog {
public:
    virtual ~CommCLog() = default;

    // The installed default log, or null before one is installed.
    static std::shared_ptr<CommCLog> defaultLog();
    // Installs a log unless it is the one already installed.
    static void setDefaultLog(std::shared_ptr<CommCLog> log);

    virtual void logDebug(const std::optional<std::string> &message);

    // $HOME/Library/Logs/VORK/VORKCoreCommCLog.log of the process's user.
    std::string logFileName() const;
};

// Sends one formatted line to the default log, if any.
void logDebugf(const char *format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vork
