#pragma once
#include <optional>
#include <string>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

/// External formats of key export (the platform's numbering).
enum class SecExternalFormat {
    OpenSSL = 1,      ///< SubjectPublicKeyInfo for a public key, unencrypted PKCS#8 for a private key.
    WrappedPKCS8 = 5  ///< PKCS#8 EncryptedPrivateKeyInfo under a password (private keys).
};

/**
 * One key of a keychain (the public or the private key of a pair) and its
 * export. Copies share the same key; a private key is only decrypted inside
 * its keychain, for the export.
 */
class VORK_EXPORT VORKSecurityKey {
public:
    /** Wraps a key of the store; the wrapper shares ownership of it. */
    explicit VORKSecurityKey(SecKeyRef reference);
    /** The wrapped key. */
    const SecKeyRef &reference() const { return reference_; }

    /**
     * The key's bytes in the format. OpenSSL: the public key as DER
     * SubjectPublicKeyInfo (or, for a private key, its unencrypted PKCS#8
     * DER). WrappedPKCS8: a private key as PKCS#8 EncryptedPrivateKeyInfo
     * under the password (errSecPassphraseRequired without one); a public key
     * is exported as in OpenSSL. With a password the output is PEM-armoured,
     * without one it is DER. None with the status as error on failure. The
     * caller owns the returned bytes.
     */
    std::optional<Bytes> exportWithFormat(SecExternalFormat format, const std::optional<std::string> &password,
                                          DomainError *error) const;

private:
    SecKeyRef reference_;
};

}  // namespace vork
