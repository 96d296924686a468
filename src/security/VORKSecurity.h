#pragma once
// VORKSecurity: the security facade for one keychain file. This is its
// first stage: it knows its keychain path and answers the device-identity
// question the HTTP transfer asks. Operations answer false or none and fill
// the caller's optional error slot; nothing is thrown.
#include <optional>
#include <string>

#include "base/Export.h"
#include "http/URLCredential.h"
#include "security/VORKSecurityError.h"

namespace vork {

class VORK_EXPORT VORKSecurity {
public:
    // A facade without a keychain path ("").
    VORKSecurity();
    // initForKeychainPath: the facade for the keychain file at the path.
    explicit VORKSecurity(std::string keychainPath);

    const std::string &keychainPath() const { return keychainPath_; }

    // Whether a file exists at keychainPath.
    bool keychainFileExists() const;

    // True when the keychain is open. When no file exists at the path the
    // slot gets code 3 of VORKSecurityErrorDomain and the answer is false.
    bool attemptToOpenKeychain(DomainError *error);

    // The device identity as a URL credential for TLS client
    // authentication; none (with the slot filled) when the keychain cannot
    // be opened or holds no device identity.
    std::optional<URLCredential> identityAsNSURLCredential(DomainError *error);

private:
    bool openAndUnlockKeychain(DomainError *error);

    std::string keychainPath_;
    bool keychainOpen_ = false;
};

// Code of the error that says the keychain file does not exist.
inline constexpr long kVORKSecurityKeychainMissing = 3;

}  // namespace vork
