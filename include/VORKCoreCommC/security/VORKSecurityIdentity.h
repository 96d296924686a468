#pragma once
// VORKSecurityIdentity: a certificate with its matching private key.
#include <optional>
#include <string>

#include "VORKCoreCommC/security/VORKSecurityCertificate.h"

namespace vork {

class VORK_EXPORT VORKSecurityIdentity {
public:
    explicit VORKSecurityIdentity(SecIdentityRef reference);
    const SecIdentityRef &reference() const { return reference_; }

    // The identity's certificate.
    std::optional<VORKSecurityCertificate> certificate(DomainError *error) const;
    // True when the certificate is a device certificate.
    bool isDeviceIdentity() const;
    // RSA PKCS#1 v1.5 with SHA-256 over the data (256 bytes for RSA-2048);
    // none with the error (a locked keychain, a program outside the item's
    // access list) on failure.
    std::optional<Bytes> signatureForData(const Bytes &data, DomainError *error) const;
    // Declared for PKCS#12 export; answers none and exports nothing.
    std::optional<Bytes> exportPKCS12(const std::string &password, DomainError *error) const;
    // The certificate (PEM) and private key (PEM, unencrypted, in memory
    // only) for a TLS client; none with the error when the key cannot be
    // used by this process.
    bool copyTlsMaterial(std::string &certificatePem, std::string &privateKeyPem, DomainError *error) const;

private:
    SecIdentityRef reference_;
};

}  // namespace vork
