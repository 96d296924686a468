#pragma once
#include <memory>
#include <optional>
#include <string>

#include "VORKCoreCommC/http/URLCredential.h"
#include "VORKCoreCommC/security/VORKSecurityKeychain.h"
#include "VORKCoreCommC/security/VORKSecurityUserCredential.h"

namespace vork {

/**
 * The security facade for one keychain file: the device ("ZEL") identity,
 * the server's certificate authorities and the (declared, unimplemented)
 * user-credential storage. It opens the keychain lazily, unlocking it with
 * VORKSecurityPlainTextPasswordThisIsBad (the system keychain at
 * VORKSecuritySystemKeychainPath is used as it is, never unlocked), and
 * creates it only to generate a key pair. Operations answer false or none
 * and, when the caller passes a non-null `DomainError *`, fill it with the
 * reason; nothing is thrown. The facade owns the keychain it opened.
 */
class VORK_EXPORT VORKSecurity {
public:
    /** A facade without a keychain file (keychainPath ""): every operation fails. */
    VORKSecurity();  // keychainPath ""
    /** A facade for the keychain file at keychainPath; nothing is opened yet. */
    explicit VORKSecurity(std::string keychainPath);  // initForKeychainPath:

    /** The keychain file's path, as given to the constructor. */
    const std::string &keychainPath() const { return keychainPath_; }
    /** The open keychain; none until an operation opened it (or after opening failed). */
    const std::optional<VORKSecurityKeychain> &keychain() const { return keychain_; }

    /** Whether the path is not "" and names an existing file. */
    bool keychainFileExists() const;
    /**
     * Opens and unlocks the keychain unless it is open already. A missing
     * file answers false with code kVORKSecurityKeychainMissing in
     * VORKSecurityErrorDomain; it is not created.
     */
    bool attemptToOpenKeychain(DomainError *error);
    /** As attemptToOpenKeychain, but first creates the keychain file when it does not exist. */
    bool attemptToOpenOrCreateKeychain(DomainError *error);
    /**
     * Loads the keychain file and unlocks it with
     * VORKSecurityPlainTextPasswordThisIsBad (the system keychain is not
     * unlocked). On failure no keychain is kept and the store's status fills
     * the error.
     */
    bool openAndUnlockKeychain(DomainError *error);
    /**
     * Creates the keychain file, unlocked, with
     * VORKSecurityPlainTextPasswordThisIsBad as its password and the running
     * program as the only trusted program, then gives it owner root, the
     * administrators' group and mode 0600. The system keychain is never
     * created: for it the answer is whether it is already open.
     */
    bool createKeychainFile(DomainError *error);

    /// @name User credentials
    /// Declared, unimplemented: each opens the keychain (filling the error
    /// when that fails), then answers false or none and stores nothing.
    /// @{

    /** Would store the credential for the service; answers false. */
    bool storeUserCredential(const VORKSecurityUserCredential &credential, const std::string &service,
                             DomainError *error);
    /** Would find the user's credential for the service; answers none. */
    std::optional<VORKSecurityUserCredential> userCredentialForUsername(const std::string &username,
                                                                        const std::string &service,
                                                                        DomainError *error);
    /** Would delete the service's credential; answers false. */
    bool deleteUserCredentialForService(const std::string &service, DomainError *error);
    /// @}

    /// @name The device identity
    /// The first identity of the keychain whose certificate is a device
    /// certificate (see VORKSecurityCertificate::isDeviceCertificate). Each
    /// operation opens the keychain first (without creating it).
    /// @{

    /** The device identity's signature of the data (see VORKSecurityIdentity::signatureForData); none on failure. */
    std::optional<Bytes> signatureOfData(const Bytes &data, DomainError *error);
    /** Declared, unimplemented: opens the keychain and always answers false. */
    bool verifySignature(const Bytes &signature, const Bytes &data, DomainError *error);  // always false
    /**
     * The device identity as a TLS client credential (certificate and
     * unencrypted private key, PEM, owned by the returned value); none when
     * there is no device identity or its key cannot be used by this process.
     */
    std::optional<URLCredential> identityAsNSURLCredential(DomainError *error);
    /** Removes every device identity; false when the keychain cannot be opened or one removal fails. */
    bool removeIdentity(DomainError *error);
    /** Whether the keychain file exists and holds a device identity; the error is cleared first. */
    bool isIdentityPresent(DomainError *error);
    /** Adds the certificate to the keychain (one already present counts as added). */
    bool saveIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /** Whether the device identity's certificate has the same DER bytes as the certificate. */
    bool verifyIdentityForCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /** Removes the certificate from the keychain and drops any trust settings it had. */
    bool removeIdentityCertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /**
     * Generates the device's RSA-2048 key pair in the keychain, creating the
     * keychain file when it does not exist (see
     * VORKSecurityKeychain::generateKeyPair); none on failure.
     */
    std::optional<VORKSecurityKeyPair> generateKeyPair(DomainError *error);
    /// @}

    /// @name The server's certificate authorities
    /// Each opens the keychain first (without creating it).
    /// @{

    /** Adds the certificate and trusts it as a root (see VORKSecurityKeychain::addAndTrustVorkCACertificate). */
    bool addAndTrustVorkCACertificate(const VORKSecurityCertificate &certificate, DomainError *error);
    /** Removes every certificate whose common name contains kVORKBuiltInCAName. */
    bool removeAllVorkCACertificates(DomainError *error);
    /// @}

private:
    std::string keychainPath_;
    std::optional<VORKSecurityKeychain> keychain_;
};

}  // namespace vork
