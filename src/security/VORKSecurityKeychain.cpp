#include "VORKCoreCommC/security/VORKSecurityKeychain.h"

#include <cassert>

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "security/TrustSettings.h"
#include "security/store/Keychain.h"

namespace vork {

namespace {

constexpr int kKeySizeInBits = 2048;
constexpr const char *kPrivateKeyLabel = "Private key";
constexpr const char *kPublicKeyLabel = "Public key";

SecItemAttributes itemsOfClass(SecItemAttributes::ItemClass itemClass) {
    SecItemAttributes query;
    query.itemClass = itemClass;
    query.matchAll = true;
    return query;
}

}  // namespace

VORKSecurityKeychain::VORKSecurityKeychain(SecKeychainRef reference) : reference_(std::move(reference)) {}

std::optional<VORKSecurityKeychain> VORKSecurityKeychain::loadKeychainAtPath(const std::string &path,
                                                                             DomainError *error) {
    SecKeychainRef keychain;
    if (!VORKSecurityError::assignErrorFromStatus(sec::Keychain::open(path, keychain), error)) return std::nullopt;
    return VORKSecurityKeychain(std::move(keychain));
}

std::optional<VORKSecurityKeychain> VORKSecurityKeychain::createKeychainAtPath(const std::string &path,
                                                                               const std::string &password,
                                                                               const VORKSecurityAccess *access,
                                                                               DomainError *error) {
    SecKeychainRef keychain;
    const sec::Access *acl = access ? access->reference().get() : nullptr;
    if (!VORKSecurityError::assignErrorFromStatus(sec::Keychain::create(path, password, acl, keychain), error))
        return std::nullopt;
    return VORKSecurityKeychain(std::move(keychain));
}

std::string VORKSecurityKeychain::path() const {
    assert(reference_ && "Failed to get the path for the keychain");
    return reference_ ? reference_->path() : std::string();
}

bool VORKSecurityKeychain::lock(DomainError *error) {
    return VORKSecurityError::assignErrorFromStatus(reference_ ? reference_->lock() : errSecParam, error);
}

bool VORKSecurityKeychain::unlockWithPassword(const std::optional<std::string> &password, DomainError *error) {
    return VORKSecurityError::assignErrorFromStatus(reference_ ? reference_->unlock(password) : errSecParam, error);
}

std::optional<std::vector<SecItemRef>> VORKSecurityKeychain::searchForItems(const SecItemAttributes &query,
                                                                            DomainError *error) const {
    std::vector<SecItemRef> items;
    OSStatus status = errSecParam;
    if (reference_ && query.itemClass == SecItemAttributes::ItemClass::Certificate) {
        std::vector<SecCertificateRef> found;
        status = reference_->certificates(found);
        items.assign(found.begin(), found.end());
    } else if (reference_) {
        std::vector<SecIdentityRef> found;
        status = reference_->identities(found);
        items.assign(found.begin(), found.end());
    }
    if (!VORKSecurityError::assignErrorFromStatus(status, error)) return std::nullopt;
    if (!query.matchAll && items.size() > 1) items.resize(1);
    return items;
}

bool VORKSecurityKeychain::addItem(const SecItemAttributes &attributes, DomainError *error) {
    OSStatus status = errSecParam;
    if (auto *certificate = std::get_if<SecCertificateRef>(&attributes.value); reference_ && certificate && *certificate)
        status = reference_->addCertificate(**certificate);
    // An item that is already there counts as added.
    if (status == errSecDuplicateItem) return true;
    return VORKSecurityError::assignErrorFromStatus(status, error);
}

bool VORKSecurityKeychain::deleteItem(const SecItemAttributes &attributes, DomainError *error) {
    OSStatus status = errSecParam;
    if (!reference_) return VORKSecurityError::assignErrorFromStatus(status, error);
    if (auto *certificate = std::get_if<SecCertificateRef>(&attributes.value); certificate && *certificate)
        status = reference_->deleteCertificate(**certificate);
    else if (auto *identity = std::get_if<SecIdentityRef>(&attributes.value); identity && *identity)
        status = reference_->deleteIdentity(**identity);
    return VORKSecurityError::assignErrorFromStatus(status, error);
}

std::optional<std::vector<VORKSecurityCertificate>> VORKSecurityKeychain::allCertificates(DomainError *error) const {
    return searchForItems<VORKSecurityCertificate>(
        itemsOfClass(SecItemAttributes::ItemClass::Certificate),
        [](const SecItemRef &item) { return VORKSecurityCertificate(std::get<SecCertificateRef>(item)); }, error);
}

std::optional<std::vector<VORKSecurityIdentity>> VORKSecurityKeychain::allIdentities(DomainError *error) const {
    return searchForItems<VORKSecurityIdentity>(
        itemsOfClass(SecItemAttributes::ItemClass::Identity),
        [](const SecItemRef &item) { return VORKSecurityIdentity(std::get<SecIdentityRef>(item)); }, error);
}

std::vector<VORKSecurityIdentity> VORKSecurityKeychain::allDeviceIdentities(DomainError *error) const {
    std::vector<VORKSecurityIdentity> devices;
    if (auto all = allIdentities(error))
        for (VORKSecurityIdentity &identity : *all)
            if (identity.isDeviceIdentity()) devices.push_back(std::move(identity));
    return devices;
}

std::optional<VORKSecurityIdentity> VORKSecurityKeychain::firstDeviceIdentity(DomainError *error) const {
    auto devices = allDeviceIdentities(error);
    if (devices.empty()) return std::nullopt;
    return devices.front();
}

bool VORKSecurityKeychain::addCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    SecItemAttributes attributes = itemsOfClass(SecItemAttributes::ItemClass::Certificate);
    attributes.value = certificate.reference();
    return addItem(attributes, error);
}

bool VORKSecurityKeychain::removeCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    SecItemAttributes attributes = itemsOfClass(SecItemAttributes::ItemClass::Certificate);
    attributes.value = certificate.reference();
    if (!deleteItem(attributes, error)) return false;
    // A certificate that leaves the keychain stops being a trusted root
    // wherever this process may change trust settings.
    (void)sec::removeTrust(certificate.data());
    return true;
}

bool VORKSecurityKeychain::removeIdentity(const VORKSecurityIdentity &identity, DomainError *error) {
    SecItemAttributes attributes = itemsOfClass(SecItemAttributes::ItemClass::Identity);
    attributes.value = identity.reference();
    return deleteItem(attributes, error);
}

OSStatus VORKSecurityKeychain::setTrustSettingsWithCert(const VORKSecurityCertificate &certificate,
                                                        SecTrustSettingsDomain domain) {
    if (!certificate.reference()) return errSecParam;
    const sec::TrustDomain trustDomain = domain == SecTrustSettingsDomain::System ? sec::TrustDomain::System
                                         : domain == SecTrustSettingsDomain::Admin ? sec::TrustDomain::Admin
                                                                                   : sec::TrustDomain::User;
    return sec::setTrust(certificate.data(), trustDomain);
}

bool VORKSecurityKeychain::trustCertificate(const VORKSecurityCertificate &certificate, DomainError *error) {
    OSStatus status = errSecParam;
    for (SecTrustSettingsDomain domain :
         {SecTrustSettingsDomain::System, SecTrustSettingsDomain::Admin, SecTrustSettingsDomain::User}) {
        status = setTrustSettingsWithCert(certificate, domain);
        if (status == errSecSuccess) return true;
    }
    return VORKSecurityError::assignErrorFromStatus(status, error);
}

bool VORKSecurityKeychain::addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate,
                                                        DomainError *error) {
    return addCertificate(certificate, error) && trustCertificate(certificate, error);
}

bool VORKSecurityKeychain::removeAllVorkCACertificates(DomainError *error) {
    auto certificates = allCertificates(error);
    if (!certificates) return false;
    bool allRemoved = true;
    for (const VORKSecurityCertificate &certificate : *certificates) {
        auto name = certificate.commonName(nullptr);
        if (name && name->find(kVORKBuiltInCAName) != std::string::npos && !removeCertificate(certificate, error))
            allRemoved = false;
    }
    return allRemoved;
}

std::optional<VORKSecurityKeyPair> VORKSecurityKeychain::generateKeyPair(DomainError *error) {
    auto access = VORKSecurityAccess::accessForOnlyRoot(error);
    if (!access) return std::nullopt;
    SecKeyRef privateKey, publicKey;
    const OSStatus status = reference_ ? reference_->generateKeyPair(kKeySizeInBits, kPrivateKeyLabel, kPublicKeyLabel,
                                                                     access->reference().get(), privateKey, publicKey)
                                       : errSecParam;
    if (!VORKSecurityError::assignErrorFromStatus(status, error)) return std::nullopt;
    return VORKSecurityKeyPair(VORKSecurityKey(privateKey), VORKSecurityKey(publicKey));
}

}  // namespace vork
