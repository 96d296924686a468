#pragma once
#include <optional>
#include <string>

#include "VORKCoreCommC/security/VORKSecurityKey.h"

namespace vork {

/** The private and the public key made by key generation (VORKSecurityKeychain::generateKeyPair). */
class VORK_EXPORT VORKSecurityKeyPair {
public:
    /** A pair of the two keys; the pair keeps (shares) both. */
    VORKSecurityKeyPair(VORKSecurityKey privateKey, VORKSecurityKey publicKey);

    /** The private key; it stays in its keychain. */
    const VORKSecurityKey &privateKey() const { return privateKey_; }
    /** The public key. */
    const VORKSecurityKey &publicKey() const { return publicKey_; }

    /** The public key in the OpenSSL format, DER (not armoured); none with the error on failure. */
    std::optional<Bytes> exportPublicKey(DomainError *error) const;
    /** The private key as PKCS#8 encrypted under the password, PEM-armoured; none with the error on failure. */
    std::optional<Bytes> exportPrivateKeyWithPassword(const std::string &password, DomainError *error) const;

private:
    VORKSecurityKey privateKey_;
    VORKSecurityKey publicKey_;
};

}  // namespace vork
