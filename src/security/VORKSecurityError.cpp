#include "VORKCoreCommC/security/VORKSecurityError.h"

#include <cstring>

const char *const VORKSecurityErrorDomain = "com.vork.security.error";
const char *const VORKSecuritySystemKeychainPath = "/Library/Keychains/System.keychain";
const char *const VORKSecurityPlainTextPasswordThisIsBad = "pq58xrtm04kbz7we";

namespace vork {

bool VORKSecurityError::assignErrorFromStatus(OSStatus status, DomainError *error) {
    if (status == errSecSuccess) return true;
    if (error) *error = errorWithCode(status, secCopyErrorMessageString(status));
    return false;
}

DomainError VORKSecurityError::errorWithCode(long code, std::string description) {
    return DomainError{VORKSecurityErrorDomain, code, std::move(description)};
}

DomainError VORKSecurityError::errorFromErrno(int errnum) {
    char buffer[256];
    // GNU strerror_r answers a pointer that may or may not be the buffer.
    const char *text = strerror_r(errnum, buffer, sizeof buffer);
    return DomainError{kPosixErrorDomain, errnum, text ? text : ""};
}

}  // namespace vork
