#pragma once
// The OpenSSL operations of the credential store: certificates, RSA key
// generation, PKCS#8 EncryptedPrivateKeyInfo (PBES2: PBKDF2-HMAC-SHA256,
// AES-256-CBC) for keys at rest and for export, the password check, and
// RSA PKCS#1 v1.5 SHA-256 signatures. Nothing here is home-made: every
// format is OpenSSL's standard encoding.
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vork::sec::crypto {

struct X509Deleter {
    void operator()(X509 *x) const { X509_free(x); }
};
struct PKeyDeleter {
    void operator()(EVP_PKEY *k) const { EVP_PKEY_free(k); }
};
using X509Ptr = std::unique_ptr<X509, X509Deleter>;
using PKeyPtr = std::unique_ptr<EVP_PKEY, PKeyDeleter>;

// PBKDF2 iterations for keys at rest, exports and the password check.
inline constexpr int kPbkdf2Iterations = 310000;

X509Ptr parseCertificate(const std::string &der);
std::string certificateDer(X509 *certificate);
std::string certificatePem(X509 *certificate);
// DER SubjectPublicKeyInfo of a certificate's or key's public key.
std::string certificatePublicKey(X509 *certificate);
std::string publicKeyDer(EVP_PKEY *key);
PKeyPtr parsePublicKey(const std::string &der);
// SHA-256 of the bytes.
std::string sha256(const std::string &bytes);
// The common name, if the subject has one.
std::optional<std::string> commonName(X509 *certificate);
// The values of the subject's entries, in order.
std::vector<std::string> subjectValues(X509 *certificate);

PKeyPtr generateRsaKey(int bits);
// PKCS#8 EncryptedPrivateKeyInfo (DER) of the key under the password.
std::optional<std::string> encryptPrivateKey(EVP_PKEY *key, const std::string &password);
// The key back from encryptPrivateKey's output; null for a wrong password.
PKeyPtr decryptPrivateKey(const std::string &der, const std::string &password);
std::string pemArmour(const std::string &der, const char *label);
// Unencrypted PKCS#8 PEM, for handing a key to the TLS library in memory.
std::string privateKeyPem(EVP_PKEY *key);
// Unencrypted PKCS#8 DER.
std::string privateKeyDer(EVP_PKEY *key);

// The password check kept in the keychain: PBKDF2-HMAC-SHA256.
std::string randomBytes(size_t count);
std::string passwordCheck(const std::string &password, const std::string &salt, int iterations);
bool equalInConstantTime(const std::string &a, const std::string &b);

// RSA PKCS#1 v1.5 signature with SHA-256; none when signing fails.
std::optional<std::string> signSha256(EVP_PKEY *key, const std::string &data);

}  // namespace vork::sec::crypto
