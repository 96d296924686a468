#include "http/VORKHTTPResponse.h"

namespace vork {

namespace {
// A single byte shared by the whole process. Atomic only so that a reader on
// another thread sees a whole value; the last writer wins.
std::atomic<bool> g_allowInvalidCert{false};
}  // namespace

bool URLRequestTrust::allowInvalidCert() { return g_allowInvalidCert.load(std::memory_order_relaxed); }

void URLRequestTrust::setAllowInvalidCert(bool allow) {
    g_allowInvalidCert.store(allow, std::memory_order_relaxed);
}

bool URLRequestTrust::allowsAnyHTTPSCertificateForHost(const std::string &) { return allowInvalidCert(); }

}  // namespace vork
