#include "base/CommCLog.h"

#include <mutex>
#include <typeinfo>
#include <cstdarg>

#include "base/Format.h"

namespace vork {

namespace {
// Installed once on the first configuration call and read from any thread
// afterwards.
std::mutex g_lock;
std::shared_ptr<CommCLog> &slot() {
    static std::shared_ptr<CommCLog> log;
    return log;
}
}  // namespace

std::shared_ptr<CommCLog> CommCLog::defaultLog() {
    std::lock_guard<std::mutex> guard(g_lock);
    return slot();
}

void CommCLog::setDefaultLog(std::shared_ptr<CommCLog> log) {
    std::lock_guard<std::mutex> guard(g_lock);
    if (slot() == log) return;
    slot() = std::move(log);
}

void CommCLog::logDebug(const std::optional<std::string> &) {}

// CommCLog::logFileName asks the system for the user's home folder; it lives
// with the platform files (src/platform/linux/LogFileName.cpp).

void logDebugf(const char *format, ...) {
    std::shared_ptr<CommCLog> log = CommCLog::defaultLog();
    // The released log drops every line unread: formatting one for it (some
    // carry whole request bodies) would be work nobody sees. A log of
    // another kind, such as one a test installs, gets every line.
    if (!log || typeid(*log) == typeid(CommCLog)) return;
    va_list args;
    va_start(args, format);
    std::string line = vstringf(format, args);
    va_end(args);
    if (log) log->logDebug(line);
}

}  // namespace vork
