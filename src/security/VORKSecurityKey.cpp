#include "VORKCoreCommC/security/VORKSecurityKey.h"

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "security/store/Keychain.h"

namespace vork {

VORKSecurityKey::VORKSecurityKey(SecKeyRef reference) : reference_(std::move(reference)) {}

std::optional<Bytes> VORKSecurityKey::exportWithFormat(SecExternalFormat format,
                                                       const std::optional<std::string> &password,
                                                       DomainError *error) const {
    if (!reference_) {
        VORKSecurityError::assignErrorFromStatus(errSecParam, error);
        return std::nullopt;
    }
    std::optional<Bytes> out;
    OSStatus status = errSecSuccess;
    if (!reference_->isPrivate) {
        // A public key is the same in both formats: SubjectPublicKeyInfo.
        out = password ? sec::crypto::pemArmour(reference_->publicKey, "PUBLIC KEY") : reference_->publicKey;
    } else if (format == SecExternalFormat::WrappedPKCS8 && !password) {
        status = errSecPassphraseRequired;
    } else if (!reference_->keychain) {
        status = errSecParam;
    } else {
        status = reference_->keychain->usePrivateKey(reference_->row, [&](EVP_PKEY *key) -> OSStatus {
            if (format == SecExternalFormat::WrappedPKCS8) {
                auto sealed = sec::crypto::encryptPrivateKey(key, *password);
                if (!sealed) return errSecInternalComponent;
                out = sec::crypto::pemArmour(*sealed, "ENCRYPTED PRIVATE KEY");
            } else {
                const std::string der = sec::crypto::privateKeyDer(key);
                out = password ? sec::crypto::pemArmour(der, "PRIVATE KEY") : der;
            }
            return errSecSuccess;
        });
    }
    if (!VORKSecurityError::assignErrorFromStatus(status, error)) return std::nullopt;
    return out;
}

}  // namespace vork
