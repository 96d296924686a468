#include "VORKCoreCommC/security/VORKSecurityIdentity.h"

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "security/store/Keychain.h"

namespace vork {

VORKSecurityIdentity::VORKSecurityIdentity(SecIdentityRef reference) : reference_(std::move(reference)) {}

std::optional<VORKSecurityCertificate> VORKSecurityIdentity::certificate(DomainError *error) const {
    if (!reference_ || !reference_->certificate) {
        VORKSecurityError::assignErrorFromStatus(errSecItemNotFound, error);
        return std::nullopt;
    }
    return VORKSecurityCertificate(reference_->certificate);
}

bool VORKSecurityIdentity::isDeviceIdentity() const {
    auto certificate = this->certificate(nullptr);
    return certificate && certificate->isDeviceCertificate();
}

namespace {

OSStatus withPrivateKey(const SecIdentityRef &identity, const std::function<OSStatus(EVP_PKEY *)> &use) {
    if (!identity || !identity->privateKey || !identity->privateKey->keychain) return errSecItemNotFound;
    return identity->privateKey->keychain->usePrivateKey(identity->privateKey->row, use);
}

}  // namespace

std::optional<Bytes> VORKSecurityIdentity::signatureForData(const Bytes &data, DomainError *error) const {
    std::optional<Bytes> signature;
    const OSStatus status = withPrivateKey(reference_, [&](EVP_PKEY *key) {
        signature = sec::crypto::signSha256(key, data);
        return signature ? errSecSuccess : errSecInternalComponent;
    });
    if (!VORKSecurityError::assignErrorFromStatus(status, error)) return std::nullopt;
    return signature;
}

std::optional<Bytes> VORKSecurityIdentity::exportPKCS12(const std::string &, DomainError *) const {
    return std::nullopt;
}

bool VORKSecurityIdentity::copyTlsMaterial(std::string &certificatePem, std::string &privateKeyPem,
                                           DomainError *error) const {
    const OSStatus status = withPrivateKey(reference_, [&](EVP_PKEY *key) {
        certificatePem = sec::crypto::certificatePem(reference_->certificate->x509());
        privateKeyPem = sec::crypto::privateKeyPem(key);
        return errSecSuccess;
    });
    return VORKSecurityError::assignErrorFromStatus(status, error);
}

}  // namespace vork
