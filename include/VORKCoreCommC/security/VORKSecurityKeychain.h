#pragma once
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/VORKSecurityAccess.h"
#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "VORKCoreCommC/security/VORKSecurityIdentity.h"
#include "VORKCoreCommC/security/VORKSecurityKeyPair.h"

namespace vork {

/// The common name that marks the server's certificate authority.
inline constexpr const char *kVORKBuiltInCAName = "ZEL Built-in Certificate Authority";

/// Trust-settings domains, tried in this order by trustCertificate.
enum class SecTrustSettingsDomain {
    System,  ///< The system's trust settings; only root may change them.
    Admin,   ///< The administrators' trust settings; root or the managing-users group may change them.
    User     ///< The calling user's own trust settings.
};

/**
 * One keychain file of the credential store. Opens or creates it, locks and
 * unlocks it, lists, adds and removes certificates and identities, trusts
 * certificates, removes the server's built-in authority and generates the
 * device's RSA key pair in it. Failures answer false or none and, when the
 * caller passes a non-null `DomainError *`, fill it with the store's status
 * in VORKSecurityErrorDomain. Copies share the same open file, which is
 * closed when the last copy (or object taken from it) goes.
 */
class VORK_EXPORT VORKSecurityKeychain {
public:
    /**
     * Opens the existing keychain file at path, still locked; none with
     * errSecNoSuchKeychain when there is no such file, errSecInvalidKeychain
     * when it is not a keychain.
     */
    static std::optional<VORKSecurityKeychain> loadKeychainAtPath(const std::string &path, DomainError *error);
    /**
     * Creates a keychain file at path with the password, unlocked. When
     * access is not null, its access list guards the keychain's items (the
     * caller keeps ownership of it). None with errSecDuplicateKeychain when
     * the file exists; a creation that fails leaves no file behind.
     */
    static std::optional<VORKSecurityKeychain> createKeychainAtPath(const std::string &path,
                                                                    const std::string &password,
                                                                    const VORKSecurityAccess *access,
                                                                    DomainError *error);

    /** Wraps an open keychain of the store; the wrapper shares ownership of it. */
    explicit VORKSecurityKeychain(SecKeychainRef reference);
    /** The wrapped keychain; empty when the wrapper holds none. */
    const SecKeychainRef &reference() const { return reference_; }
    /** Replaces the wrapped keychain (sharing ownership of the new one). */
    void setReference(SecKeychainRef reference) { reference_ = std::move(reference); }

    /** The keychain file's path; "" (and an assertion in debug builds) without a keychain. */
    std::string path() const;
    /** Locks the keychain: the password is forgotten until the next unlock. */
    bool lock(DomainError *error);
    /**
     * Unlocks the keychain with the password (errSecAuthFailed when it is
     * wrong). No password: the user would be asked, which a library cannot
     * do here, so the answer is errSecInteractionNotAllowed.
     */
    bool unlockWithPassword(const std::optional<std::string> &password, DomainError *error);

    /** Every certificate, in the order added; none with errSecItemNotFound when there is none. */
    std::optional<std::vector<VORKSecurityCertificate>> allCertificates(DomainError *error) const;
    /** Every identity (certificate with its private key); none with errSecItemNotFound when there is none. */
    std::optional<std::vector<VORKSecurityIdentity>> allIdentities(DomainError *error) const;
    /** The identities whose certificate is a device certificate; empty when there is none or the search fails. */
    std::vector<VORKSecurityIdentity> allDeviceIdentities(DomainError *error) const;
    /** The first of allDeviceIdentities; none when there is none. */
    std::optional<VORKSecurityIdentity> firstDeviceIdentity(DomainError *error) const;

    /** Adds the certificate; one already present counts as added. The keychain must be unlocked. */
    bool addCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /**
     * Removes the certificate (errSecItemNotFound when it is not there) and
     * then drops its trust settings wherever this process may change them.
     */
    bool removeCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /** Removes the identity: its certificate and its private key. */
    bool removeIdentity(const VORKSecurityIdentity &identity, DomainError *error);
    /**
     * Trusts the certificate as a root in the first domain that accepts:
     * system, administrator, user; the user domain's status when all fail.
     */
    bool trustCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /** addCertificate, then trustCertificate; false at the first step that fails. */
    bool addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /**
     * Removes every certificate whose common name contains kVORKBuiltInCAName;
     * false when the certificates cannot be listed or one removal fails.
     */
    bool removeAllVorkCACertificates(DomainError *error);
    /**
     * An RSA-2048 key pair ("Private key", "Public key") made in the unlocked
     * keychain, whose private key is usable by root only; none with the
     * error on failure.
     */
    std::optional<VORKSecurityKeyPair> generateKeyPair(DomainError *error);

    /// @name The generic add, delete and search
    /// @{

    /** Adds attributes.value (a certificate); duplicates count as added; errSecParam for anything else. */
    bool addItem(const SecItemAttributes &attributes, DomainError *error);
    /** Deletes attributes.value (a certificate or an identity); errSecItemNotFound when it is not there. */
    bool deleteItem(const SecItemAttributes &attributes, DomainError *error);
    /**
     * The items of query.itemClass, all of them or only the first (per
     * query.matchAll); none with errSecItemNotFound when there is none.
     */
    std::optional<std::vector<SecItemRef>> searchForItems(const SecItemAttributes &query, DomainError *error) const;
    /** searchForItems, with every item converted by conversionBlock. */
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
    /// @}

    /**
     * Trusts the certificate as a root in one trust-settings domain; answers
     * the status (errSecParam for an empty certificate).
     */
    static OSStatus setTrustSettingsWithCert(const VORKSecurityCertificate &certificate,
                                             SecTrustSettingsDomain domain);

private:
    SecKeychainRef reference_;
};

}  // namespace vork
