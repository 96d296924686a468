#pragma once
// The objects behind the public references: a certificate (parsed once), a
// key held in a keychain, an identity (certificate plus its private key) and
// an access list.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/SecurityTypes.h"
#include "security/store/Crypto.h"

namespace vork::sec {

class Certificate {
public:
    // None when the bytes are not one DER certificate.
    static std::shared_ptr<Certificate> fromDer(const std::string &der) {
        auto x509 = crypto::parseCertificate(der);
        if (!x509) return nullptr;
        return std::shared_ptr<Certificate>(new Certificate(der, std::move(x509)));
    }
    const std::string &der() const { return der_; }
    X509 *x509() const { return x509_.get(); }
    // SHA-256 of the certificate's SubjectPublicKeyInfo: what pairs it with
    // a private key.
    std::string publicKeyHash() const { return crypto::sha256(crypto::certificatePublicKey(x509())); }

private:
    Certificate(std::string der, crypto::X509Ptr x509) : der_(std::move(der)), x509_(std::move(x509)) {}
    std::string der_;
    crypto::X509Ptr x509_;
};

// Who may use an item: the super-user only, and/or the listed programs
// (canonical executable paths).
class Access {
public:
    bool rootOnly = false;
    std::string descriptor;
    std::vector<std::string> programs;
};

class Key {
public:
    bool isPrivate = false;
    std::string label;
    std::string publicKey;  // DER SubjectPublicKeyInfo
    // The keychain and row of a private key; the key itself stays encrypted
    // there until it is used.
    SecKeychainRef keychain;
    int64_t row = 0;
};

class Identity {
public:
    SecCertificateRef certificate;
    SecKeyRef privateKey;
};

}  // namespace vork::sec
