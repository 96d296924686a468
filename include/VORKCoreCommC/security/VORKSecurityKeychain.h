#pragma once
// VORKSecurityKeychain: one keychain file of the credential store. Opens or
// creates it, locks and unlocks it, lists, adds and removes certificates and
// identities, trusts certificates, removes the server's built-in authority
// and generates the device's RSA key pair in it. Failures answer false or
// none and fill the caller's optional error slot.
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/VORKSecurityAccess.h"
#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "VORKCoreCommC/security/VORKSecurityIdentity.h"
#include "VORKCoreCommC/security/VORKSecurityKeyPair.h"

namespace vork {

// The common name that marks the server's certificate authority.
inline constexpr const char *kVORKBuiltInCAName = "ZEL Built-in Certificate Authority";

// Trust-settings domains, tried in this order by trustCertificate.
enum class SecTrustSettingsDomain { System, Admin, User };

class VORK_EXPORT VORKSecurityKeychain {
public:
    static std::optional<VORKSecurityKeychain> loadKeychainAtPath(const std::string &path, DomainError *error);
    static std::optional<VORKSecurityKeychain> createKeychainAtPath(const std::string &path,
                                                                    const std::string &password,
                                                                    const VORKSecurityAccess *access,
                                                                    DomainError *error);

    explicit VORKSecurityKeychain(SecKeychainRef reference);
    const SecKeychainRef &reference() const { return reference_; }
    void setReference(SecKeychainRef reference) { reference_ = std::move(reference); }

    std::string path() const;
    bool lock(DomainError *error);
    // No password: the user would be asked, which a library cannot do here,
    // so the answer is errSecInteractionNotAllowed.
    bool unlockWithPassword(const std::optional<std::string> &password, DomainError *error);

    std::optional<std::vector<VORKSecurityCertificate>> allCertificates(DomainError *error) const;
    std::optional<std::vector<VORKSecurityIdentity>> allIdentities(DomainError *error) const;
    std::vector<VORKSecurityIdentity> allDeviceIdentities(DomainError *error) const;
    std::optional<VORKSecurityIdentity> firstDeviceIdentity(DomainError *error) const;

    // A certificate already present counts as added.
    bool addCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool removeCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool removeIdentity(const VORKSecurityIdentity &identity, DomainError *error);
    // Trusts the certificate as a root in the first domain that accepts:
    // system, administrator, user; the user domain's status when all fail.
    bool trustCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    // Removes every certificate whose common name contains kVORKBuiltInCAName.
    bool removeAllVorkCACertificates(DomainError *error);
    // An RSA-2048 key pair ("Private key", "Public key") usable by root only.
    std::optional<VORKSecurityKeyPair> generateKeyPair(DomainError *error);

    // The generic add (duplicates count as added), delete and search.
    bool addItem(const SecItemAttributes &attributes, DomainError *error);
    bool deleteItem(const SecItemAttributes &attributes, DomainError *error);
    std::optional<std::vector<SecItemRef>> searchForItems(const SecItemAttributes &query, DomainError *error) const;
    template <class T>
    std::optional<std::vector<T>> searchForItems(const SecItemAttributes &query,
                                                 const std::function<T(const SecItemRef &)> &conversionBlock,
                                                 DomainError *error) const {
        auto found = searchForItems(query, error);
        if (!found) return std::nullopt;
        std::vector<T> out;
        out.reserve(found->size());
        for (const SecItemRef &item : *found) out.push_back(conversionBlock(item));
        return out;
    }

    static OSStatus setTrustSettingsWithCert(const VORKSecurityCertificate &certificate,
                                             SecTrustSettingsDomain domain);

private:
    SecKeychainRef reference_;
};

}  // namespace vork
