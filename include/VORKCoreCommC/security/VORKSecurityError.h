#pragma once
#include <string>

#include "VORKCoreCommC/security.h"
#include "VORKCoreCommC/security/SecurityTypes.h"
#include "VORKCoreCommC/security/VORKSecurityStatus.h"

namespace vork {

/// Domain of errors that carry a system errno value.
inline constexpr const char *kPosixErrorDomain = "NSPOSIXErrorDomain";
/// The code of the error that says the keychain file does not exist.
inline constexpr long kVORKSecurityKeychainMissing = 3;

/**
 * Makes the error objects of the security classes: turns a status of the
 * credential store into an error object of VORKSecurityErrorDomain. The
 * error objects are values the caller owns.
 */
class VORK_EXPORT VORKSecurityError {
public:
    /**
     * Answers true exactly when the status is 0. Otherwise, when a slot is
     * given (error not null), fills it with an error of
     * VORKSecurityErrorDomain whose code is the status and whose description
     * is the status's message (secCopyErrorMessageString).
     */
    static bool assignErrorFromStatus(OSStatus status, DomainError *error);
    /** An error of the security domain with the given code and description. */
    static DomainError errorWithCode(long code, std::string description);
    /** The error for a failed system call: kPosixErrorDomain, errno as the code, its system message as description. */
    static DomainError errorFromErrno(int errnum);
};

}  // namespace vork
