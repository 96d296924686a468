#include "VORKCoreCommC/security/VORKSecurity.h"

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "base/SystemRoot.h"
#include "platform/FileAttributes.h"
#include "platform/RunningProgram.h"
#include "util/FileManager.h"

namespace vork {

namespace {

constexpr const char *kAccessDescriptor = "vork";
constexpr uint32_t kKeychainOwner = 0;
constexpr uint32_t kKeychainMode = 0600;

bool isSystemKeychain(const std::string &path) {
    return path == VORKSecuritySystemKeychainPath || path == systemPath(VORKSecuritySystemKeychainPath);
}

}  // namespace

VORKSecurity::VORKSecurity() = default;

VORKSecurity::VORKSecurity(std::string keychainPath) : keychainPath_(std::move(keychainPath)) {}

bool VORKSecurity::keychainFileExists() const {
    return !keychainPath_.empty() &&
           platform::fileAttributes().get()->attributesOfItem(keychainPath_, true).has_value();
}

bool VORKSecurity::attemptToOpenKeychain(DomainError *error) {
    if (keychain_) return true;
    if (!keychainFileExists()) {
        if (error) *error = VORKSecurityError::errorWithCode(kVORKSecurityKeychainMissing, "");
        return false;
    }
    return openAndUnlockKeychain(error);
}

bool VORKSecurity::attemptToOpenOrCreateKeychain(DomainError *error) {
    if (keychain_) return true;
    if (!keychainFileExists() && !createKeychainFile(error)) return false;
    return attemptToOpenKeychain(error);
}

bool VORKSecurity::openAndUnlockKeychain(DomainError *error) {
    keychain_ = VORKSecurityKeychain::loadKeychainAtPath(keychainPath_, error);
    // The system keychain is used as the platform leaves it.
    if (!isSystemKeychain(keychainPath_) && keychain_ &&
        !keychain_->unlockWithPassword(std::string(VORKSecurityPlainTextPasswordThisIsBad), error))
        keychain_.reset();
    return keychain_.has_value();
}

bool VORKSecurity::createKeychainFile(DomainError *error) {
    if (isSystemKeychain(keychainPath_)) return keychain_.has_value();
    auto access = VORKSecurityAccess::accessForApplicationsAtPaths(
        {platform::runningProgram().get()->executablePath()}, kAccessDescriptor, error);
    if (!access) return false;
    keychain_ = VORKSecurityKeychain::createKeychainAtPath(keychainPath_, VORKSecurityPlainTextPasswordThisIsBad,
                                                           &*access, error);
    if (keychain_)
        util::applyPermissions(keychainPath_,
                               util::permissionsWithOwner(kKeychainOwner, util::adminGroupId(), kKeychainMode));
    return keychain_.has_value();
}

bool VORKSecurity::storeUserCredential(const VORKSecurityUserCredential &, const std::string &, DomainError *error) {
    (void)attemptToOpenKeychain(error);
    return false;
}

std::optional<VORKSecurityUserCredential> VORKSecurity::userCredentialForUsername(const std::string &,
                                                                                  const std::string &,
                                                                                  DomainError *error) {
    (void)attemptToOpenKeychain(error);
    return std::nullopt;
}

bool VORKSecurity::deleteUserCredentialForService(const std::string &, DomainError *error) {
    (void)attemptToOpenKeychain(error);
    return false;
}

std::optional<Bytes> VORKSecurity::signatureOfData(const Bytes &data, DomainError *error) {
    if (!attemptToOpenKeychain(error)) return std::nullopt;
    auto identity = keychain_->firstDeviceIdentity(error);
    if (!identity) return std::nullopt;
    return identity->signatureForData(data, error);
}

bool VORKSecurity::verifySignature(const Bytes &, const Bytes &, DomainError *error) {
    (void)attemptToOpenKeychain(error);
    return false;
}

std::optional<URLCredential> VORKSecurity::identityAsNSURLCredential(DomainError *error) {
    if (!attemptToOpenKeychain(error)) return std::nullopt;
    auto identity = keychain_->firstDeviceIdentity(error);
    if (!identity) return std::nullopt;
    ClientIdentity material;
    if (!identity->copyTlsMaterial(material.certificatePem, material.privateKeyPem, error)) return std::nullopt;
    return URLCredential::withIdentity(std::move(material));
}

bool VORKSecurity::removeIdentity(DomainError *error) {
    if (!attemptToOpenKeychain(error)) return false;
    bool allRemoved = true;
    for (const VORKSecurityIdentity &identity : keychain_->allDeviceIdentities(nullptr))
        if (!keychain_->removeIdentity(identity, error)) allRemoved = false;
    return allRemoved;
}

bool VORKSecurity::isIdentityPresent(DomainError *error) {
    if (error) *error = DomainError{};
    if (!keychainFileExists() || !attemptToOpenKeychain(error)) return false;
    return !keychain_->allDeviceIdentities(error).empty();
}

bool VORKSecurity::saveIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    return attemptToOpenKeychain(error) && keychain_->addCertificate(certificate, error);
}

bool VORKSecurity::verifyIdentityForCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    if (!attemptToOpenKeychain(error)) return false;
    auto identity = keychain_->firstDeviceIdentity(error);
    auto own = identity ? identity->certificate(error) : std::nullopt;
    return own && own->isEqual(certificate);
}

bool VORKSecurity::removeIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    return attemptToOpenKeychain(error) && keychain_->removeCertificate(certificate, error);
}

std::optional<VORKSecurityKeyPair> VORKSecurity::generateKeyPair(DomainError *error) {
    if (!attemptToOpenOrCreateKeychain(error)) return std::nullopt;
    return keychain_->generateKeyPair(error);
}

bool VORKSecurity::addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    return attemptToOpenKeychain(error) && keychain_->addAndTrustVorkCACertificate(certificate, error);
}

bool VORKSecurity::removeAllVorkCACertificates(DomainError *error) {
    return attemptToOpenKeychain(error) && keychain_->removeAllVorkCACertificates(error);
}

}  // namespace vork
