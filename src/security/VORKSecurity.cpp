#include "security/VORKSecurity.h"

#include <sys/stat.h>

namespace vork {

VORKSecurity::VORKSecurity() = default;

VORKSecurity::VORKSecurity(std::string keychainPath) : keychainPath_(std::move(keychainPath)) {}

bool VORKSecurity::keychainFileExists() const {
    struct stat st {};
    return !keychainPath_.empty() && ::stat(keychainPath_.c_str(), &st) == 0;
}

bool VORKSecurity::attemptToOpenKeychain(DomainError *error) {
    if (keychainOpen_) return true;
    if (!keychainFileExists()) {
        if (error) *error = VORKSecurityError::errorWithCode(kVORKSecurityKeychainMissing, "");
        return false;
    }
    return openAndUnlockKeychain(error);
}

bool VORKSecurity::openAndUnlockKeychain(DomainError *) {
    // Loading keychain files comes with the credential store; until then an
    // existing file loads no keychain.
    keychainOpen_ = false;
    return keychainOpen_;
}

std::optional<URLCredential> VORKSecurity::identityAsNSURLCredential(DomainError *error) {
    if (!attemptToOpenKeychain(error)) return std::nullopt;
    // No device identity can be read yet.
    return std::nullopt;
}

}  // namespace vork
