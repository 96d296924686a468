#pragma once
// The credential store's keychain: one SQLite file. Certificates are kept as
// DER; private keys as PKCS#8 EncryptedPrivateKeyInfo under the keychain
// password, with their public half and access list beside them; the
// password itself is kept only as a PBKDF2 check value. The file uses the
// rollback journal (DELETE mode) and every write is one transaction, so a
// failed or interrupted write leaves the previous content and no side file.
//
// Reading certificates and identities works while the keychain is locked;
// writing and using a private key need it unlocked, and using a private key
// needs the running program to pass the key's (or the keychain's) access
// list. Every operation answers a status.
#include <sqlite3.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "security/store/Objects.h"

namespace vork::sec {

class Keychain : public std::enable_shared_from_this<Keychain> {
public:
    ~Keychain();
    Keychain(const Keychain &) = delete;
    Keychain &operator=(const Keychain &) = delete;

    // SecKeychainCreate: a new file (errSecDuplicateKeychain when one is
    // there), unlocked, with the access list as the default for its keys.
    static OSStatus create(const std::string &path, const std::string &password, const Access *access,
                           SecKeychainRef &out);
    // SecKeychainOpen: an existing file, locked.
    static OSStatus open(const std::string &path, SecKeychainRef &out);

    const std::string &path() const { return path_; }
    OSStatus lock();
    OSStatus unlock(const std::optional<std::string> &password);
    bool isUnlocked() const;
    // Re-encrypts every private key under a new password (what another
    // program that owns the password could do).
    OSStatus changePassword(const std::string &oldPassword, const std::string &newPassword);

    OSStatus addCertificate(const Certificate &certificate);
    OSStatus deleteCertificate(const Certificate &certificate);
    OSStatus certificates(std::vector<SecCertificateRef> &out);
    OSStatus identities(std::vector<SecIdentityRef> &out);
    // Deletes the identity's certificate and its private key.
    OSStatus deleteIdentity(const Identity &identity);
    OSStatus generateKeyPair(int bits, const std::string &privateLabel, const std::string &publicLabel,
                             const Access *access, SecKeyRef &privateKey, SecKeyRef &publicKey);
    // Decrypts the private key of the row and hands it to `use`, after the
    // lock and access checks.
    OSStatus usePrivateKey(int64_t row, const std::function<OSStatus(EVP_PKEY *)> &use);

private:
    Keychain(std::string path, sqlite3 *db) : path_(std::move(path)), db_(db) {}
    OSStatus transaction(const std::function<OSStatus()> &body);
    std::optional<int64_t> storeAccess(const Access *access);
    bool accessAllows(int64_t accessId);
    std::optional<std::string> meta(const char *name);
    OSStatus setMeta(const char *name, const std::string &value);
    bool passwordMatches(const std::string &password);

    std::string path_;
    sqlite3 *db_;
    mutable std::mutex mutex_;
    std::optional<std::string> password_;  // while unlocked
};

}  // namespace vork::sec
