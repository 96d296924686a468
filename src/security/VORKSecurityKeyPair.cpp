#include "VORKCoreCommC/security/VORKSecurityKeyPair.h"

namespace vork {

VORKSecurityKeyPair::VORKSecurityKeyPair(VORKSecurityKey privateKey, VORKSecurityKey publicKey)
    : privateKey_(std::move(privateKey)), publicKey_(std::move(publicKey)) {}

std::optional<Bytes> VORKSecurityKeyPair::exportPublicKey(DomainError *error) const {
    return publicKey_.exportWithFormat(SecExternalFormat::OpenSSL, std::nullopt, error);
}

std::optional<Bytes> VORKSecurityKeyPair::exportPrivateKeyWithPassword(const std::string &password,
                                                                       DomainError *error) const {
    return privateKey_.exportWithFormat(SecExternalFormat::WrappedPKCS8, password, error);
}

}  // namespace vork
