#pragma once
// VORKSecurity: the security facade for one keychain file: the device
// ("ZEL") identity, the server's certificate authorities and the (declared,
// unimplemented) user-credential storage. It opens the keychain lazily,
// unlocking it with VORKSecurityPlainTextPasswordThisIsBad, and creates it
// only to generate a key pair. Operations answer false or none and fill the
// caller's optional error slot; nothing is thrown.
#include <memory>
#include <optional>
#include <string>

#include "VORKCoreCommC/http/URLCredential.h"
#include "VORKCoreCommC/security/VORKSecurityKeychain.h"
#include "VORKCoreCommC/security/VORKSecurityUserCredential.h"

namespace vork {

class VORK_EXPORT VORKSecurity {
public:
    VORKSecurity();  // keychainPath ""
    explicit VORKSecurity(std::string keychainPath);  // initForKeychainPath:

    const std::string &keychainPath() const { return keychainPath_; }
    const std::optional<VORKSecurityKeychain> &keychain() const { return keychain_; }

    bool keychainFileExists() const;
    bool attemptToOpenKeychain(DomainError *error);
    bool attemptToOpenOrCreateKeychain(DomainError *error);
    bool openAndUnlockKeychain(DomainError *error);
    bool createKeychainFile(DomainError *error);

    // User credentials: declared, unimplemented (open the keychain, then
    // answer false or none).
    bool storeUserCredential(const VORKSecurityUserCredential &credential, const std::string &service,
                             DomainError *error);
    std::optional<VORKSecurityUserCredential> userCredentialForUsername(const std::string &username,
                                                                        const std::string &service,
                                                                        DomainError *error);
    bool deleteUserCredentialForService(const std::string &service, DomainError *error);

    // The device identity.
    std::optional<Bytes> signatureOfData(const Bytes &data, DomainError *error);
    bool verifySignature(const Bytes &signature, const Bytes &data, DomainError *error);  // always false
    std::optional<URLCredential> identityAsNSURLCredential(DomainError *error);
    bool removeIdentity(DomainError *error);
    bool isIdentityPresent(DomainError *error);
    bool saveIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool verifyIdentityForCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool removeIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    std::optional<VORKSecurityKeyPair> generateKeyPair(DomainError *error);

    // The server's certificate authorities.
    bool addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    bool removeAllVorkCACertificates(DomainError *error);

private:
    std::string keychainPath_;
    std::optional<VORKSecurityKeychain> keychain_;
};

}  // namespace vork
