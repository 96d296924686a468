#pragma once
// VORKSecurityKey: one key of a keychain and its export.
#include <optional>
#include <string>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

// External formats of key export (the platform's numbering).
enum class SecExternalFormat { OpenSSL = 1, WrappedPKCS8 = 5 };

class VORK_EXPORT VORKSecurityKey {
public:
    explicit VORKSecurityKey(SecKeyRef reference);
    const SecKeyRef &reference() const { return reference_; }

    // OpenSSL: the public key as DER SubjectPublicKeyInfo (or, for a private
    // key, its unencrypted PKCS#8 DER). WrappedPKCS8: a private key as
    // PKCS#8 EncryptedPrivateKeyInfo under the password. With a password the
    // output is PEM-armoured, without one it is DER. None with the status as
    // error on failure.
    std::optional<Bytes> exportWithFormat(SecExternalFormat format, const std::optional<std::string> &password,
                                          DomainError *error) const;

private:
    SecKeyRef reference_;
};

}  // namespace vork
