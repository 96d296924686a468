#pragma once
#include <optional>
#include <string>

#include "VORKCoreCommC/security/VORKSecurityCertificate.h"

namespace vork {

/**
 * A certificate with its matching private key, as found in a keychain.
 * Copies share the same identity; the private key stays in the keychain and
 * is used there. Errors are of VORKSecurityErrorDomain.
 */
class VORK_EXPORT VORKSecurityIdentity {
public:
    /** Wraps an identity of the store; the wrapper shares ownership of it. */
    explicit VORKSecurityIdentity(SecIdentityRef reference);
    /** The wrapped identity. */
    const SecIdentityRef &reference() const { return reference_; }

    /** The identity's certificate; none with errSecItemNotFound when there is none. */
    std::optional<VORKSecurityCertificate> certificate(DomainError *error) const;
    /** True when the certificate is a device certificate. */
    bool isDeviceIdentity() const;
    /**
     * RSA PKCS#1 v1.5 with SHA-256 over the data (256 bytes for RSA-2048);
     * none with the error (a locked keychain, a program outside the item's
     * access list) on failure.
     */
    std::optional<Bytes> signatureForData(const Bytes &data, DomainError *error) const;
    /** Declared for PKCS#12 export; answers none, exports nothing and leaves the error alone. */
    std::optional<Bytes> exportPKCS12(const std::string &password, DomainError *error) const;
    /**
     * Fills certificatePem and privateKeyPem with the certificate (PEM) and
     * private key (PEM, unencrypted, in memory only) for a TLS client; the
     * caller owns the texts. False with the error, and the texts untouched,
     * when the key cannot be used by this process.
     */
    bool copyTlsMaterial(std::string &certificatePem, std::string &privateKeyPem, DomainError *error) const;

private:
    SecIdentityRef reference_;
};

}  // namespace vork
