#pragma once
// VORKSecurityKeyPair: the private and the public key made by key
// generation.
#include <optional>
#include <string>

#include "VORKCoreCommC/security/VORKSecurityKey.h"

namespace vork {

class VORK_EXPORT VORKSecurityKeyPair {
public:
    VORKSecurityKeyPair(VORKSecurityKey privateKey, VORKSecurityKey publicKey);

    const VORKSecurityKey &privateKey() const { return privateKey_; }
    const VORKSecurityKey &publicKey() const { return publicKey_; }

    // The public key in the OpenSSL format, DER (not armoured).
    std::optional<Bytes> exportPublicKey(DomainError *error) const;
    // The private key as encrypted PKCS#8, PEM-armoured.
    std::optional<Bytes> exportPrivateKeyWithPassword(const std::string &password, DomainError *error) const;

private:
    VORKSecurityKey privateKey_;
    VORKSecurityKey publicKey_;
};

}  // namespace vork
