#pragma once
// Error objects of the security classes and file hashing: a domain, a code
// and the description a caller shows. Errors the library makes itself carry
// the security domain (VORKSecurityErrorDomain); a failed system call is
// handed on as an error of the POSIX domain with the errno value as its code.
#include <string>

#include "base/Export.h"
#include "VORKCoreCommC/security.h"

namespace vork {

// Domain of errors that carry a system errno value.
inline constexpr const char *kPosixErrorDomain = "NSPOSIXErrorDomain";

struct VORK_EXPORT DomainError {
    std::string domain;
    long code = 0;
    std::string description;

    bool operator==(const DomainError &) const = default;
};

class VORK_EXPORT VORKSecurityError {
public:
    // An error of the security domain with the given code and description.
    static DomainError errorWithCode(long code, std::string description);
    // The error for a failed system call: POSIX domain, the errno value as
    // its code and the system's text for it as the description.
    static DomainError errorFromErrno(int errnum);
};

}  // namespace vork
