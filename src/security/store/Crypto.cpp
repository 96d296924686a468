#include "security/store/Crypto.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

namespace vork::sec::crypto {

namespace {

struct BioDeleter {
    void operator()(BIO *b) const { BIO_free(b); }
};
using BioPtr = std::unique_ptr<BIO, BioDeleter>;

std::string bioText(BIO *bio) {
    char *data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return length > 0 ? std::string(data, static_cast<size_t>(length)) : std::string();
}

template <class T, class F>
std::string toDer(T *object, F encode) {
    unsigned char *out = nullptr;
    const int length = encode(object, &out);
    if (length <= 0) return {};
    std::string der(reinterpret_cast<char *>(out), static_cast<size_t>(length));
    OPENSSL_free(out);
    return der;
}

}  // namespace

X509Ptr parseCertificate(const std::string &der) {
    const auto *p = reinterpret_cast<const unsigned char *>(der.data());
    X509Ptr certificate(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
    // Trailing bytes after the certificate mean the data was not one.
    if (certificate && p != reinterpret_cast<const unsigned char *>(der.data()) + der.size()) return nullptr;
    return certificate;
}

std::string certificateDer(X509 *certificate) { return toDer(certificate, i2d_X509); }

std::string certificatePem(X509 *certificate) {
    BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), certificate);
    return bioText(bio.get());
}

std::string certificatePublicKey(X509 *certificate) {
    return toDer(X509_get_X509_PUBKEY(certificate), i2d_X509_PUBKEY);
}

std::string publicKeyDer(EVP_PKEY *key) { return toDer(key, i2d_PUBKEY); }

PKeyPtr parsePublicKey(const std::string &der) {
    const auto *p = reinterpret_cast<const unsigned char *>(der.data());
    return PKeyPtr(d2i_PUBKEY(nullptr, &p, static_cast<long>(der.size())));
}

std::string sha256(const std::string &bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr);
    return std::string(reinterpret_cast<char *>(digest), length);
}

std::optional<std::string> commonName(X509 *certificate) {
    X509_NAME *subject = X509_get_subject_name(certificate);
    const int index = subject ? X509_NAME_get_index_by_NID(subject, NID_commonName, -1) : -1;
    if (index < 0) return std::nullopt;
    unsigned char *utf8 = nullptr;
    const int length = ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
    if (length < 0) return std::nullopt;
    std::string name(reinterpret_cast<char *>(utf8), static_cast<size_t>(length));
    OPENSSL_free(utf8);
    return name;
}

std::vector<std::string> subjectValues(X509 *certificate) {
    std::vector<std::string> values;
    X509_NAME *subject = X509_get_subject_name(certificate);
    for (int i = 0; subject && i < X509_NAME_entry_count(subject); ++i) {
        unsigned char *utf8 = nullptr;
        const int length = ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, i)));
        if (length < 0) continue;
        values.emplace_back(reinterpret_cast<char *>(utf8), static_cast<size_t>(length));
        OPENSSL_free(utf8);
    }
    return values;
}

PKeyPtr generateRsaKey(int bits) { return PKeyPtr(EVP_RSA_gen(static_cast<unsigned int>(bits))); }

std::optional<std::string> encryptPrivateKey(EVP_PKEY *key, const std::string &password) {
    PKCS8_PRIV_KEY_INFO *info = EVP_PKEY2PKCS8(key);
    if (!info) return std::nullopt;
    // pbe_nid -1 with a cipher selects PBES2; its PRF defaults to
    // HMAC-SHA256 and the salt and IV are random.
    X509_SIG *sealed = PKCS8_encrypt(-1, EVP_aes_256_cbc(), password.data(), static_cast<int>(password.size()),
                                     nullptr, 0, kPbkdf2Iterations, info);
    PKCS8_PRIV_KEY_INFO_free(info);
    if (!sealed) return std::nullopt;
    std::string der = toDer(sealed, i2d_X509_SIG);
    X509_SIG_free(sealed);
    if (der.empty()) return std::nullopt;
    return der;
}

PKeyPtr decryptPrivateKey(const std::string &der, const std::string &password) {
    const auto *p = reinterpret_cast<const unsigned char *>(der.data());
    X509_SIG *sealed = d2i_X509_SIG(nullptr, &p, static_cast<long>(der.size()));
    if (!sealed) return nullptr;
    PKCS8_PRIV_KEY_INFO *info = PKCS8_decrypt(sealed, password.data(), static_cast<int>(password.size()));
    X509_SIG_free(sealed);
    if (!info) return nullptr;
    PKeyPtr key(EVP_PKCS82PKEY(info));
    PKCS8_PRIV_KEY_INFO_free(info);
    return key;
}

std::string pemArmour(const std::string &der, const char *label) {
    BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio(bio.get(), label, "", reinterpret_cast<const unsigned char *>(der.data()),
                  static_cast<long>(der.size()));
    return bioText(bio.get());
}

std::string privateKeyPem(EVP_PKEY *key) {
    BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PKCS8PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return bioText(bio.get());
}

std::string privateKeyDer(EVP_PKEY *key) {
    BioPtr bio(BIO_new(BIO_s_mem()));
    i2d_PKCS8PrivateKey_bio(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return bioText(bio.get());
}

std::string randomBytes(size_t count) {
    std::string out(count, '\0');
    RAND_bytes(reinterpret_cast<unsigned char *>(out.data()), static_cast<int>(count));
    return out;
}

std::string passwordCheck(const std::string &password, const std::string &salt, int iterations) {
    std::string out(32, '\0');
    PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                      reinterpret_cast<const unsigned char *>(salt.data()), static_cast<int>(salt.size()), iterations,
                      EVP_sha256(), static_cast<int>(out.size()), reinterpret_cast<unsigned char *>(out.data()));
    return out;
}

bool equalInConstantTime(const std::string &a, const std::string &b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::optional<std::string> signSha256(EVP_PKEY *key, const std::string &data) {
    EVP_MD_CTX *context = EVP_MD_CTX_new();
    EVP_PKEY_CTX *keyContext = nullptr;
    std::optional<std::string> out;
    size_t length = 0;
    if (context && EVP_DigestSignInit(context, &keyContext, EVP_sha256(), nullptr, key) == 1 &&
        EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PADDING) == 1 &&
        EVP_DigestSign(context, nullptr, &length, reinterpret_cast<const unsigned char *>(data.data()),
                       data.size()) == 1) {
        std::string signature(length, '\0');
        if (EVP_DigestSign(context, reinterpret_cast<unsigned char *>(signature.data()), &length,
                           reinterpret_cast<const unsigned char *>(data.data()), data.size()) == 1) {
            signature.resize(length);
            out = std::move(signature);
        }
    }
    EVP_MD_CTX_free(context);
    return out;
}

}  // namespace vork::sec::crypto
