#include "http/TlsCredentials.h"

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "security/TrustSettings.h"

namespace vork::http {

namespace {

// Adds the extra authorities to the connection's verification store, next
// to the system's that libcurl loaded.
CURLcode addAuthorities(CURL *, void *sslContext, void *data) {
    const auto *credentials = static_cast<const TlsCredentials *>(data);
    X509_STORE *store = SSL_CTX_get_cert_store(static_cast<SSL_CTX *>(sslContext));
    for (const std::string &der : credentials->extraAuthorities) {
        const auto *p = reinterpret_cast<const unsigned char *>(der.data());
        X509 *certificate = d2i_X509(nullptr, &p, static_cast<long>(der.size()));
        if (!certificate) continue;
        X509_STORE_add_cert(store, certificate);
        X509_free(certificate);
    }
    return CURLE_OK;
}

}  // namespace

std::shared_ptr<const TlsCredentials> tlsCredentialsFor(TlsCredentials base) {
    auto credentials = std::make_shared<TlsCredentials>(std::move(base));
    for (std::string &der : sec::trustedCertificates()) credentials->extraAuthorities.push_back(std::move(der));
    if (credentials->empty()) return nullptr;
    return credentials;
}

void applyTlsCredentials(void *easyHandle, const TlsCredentials &credentials) {
    CURL *easy = static_cast<CURL *>(easyHandle);
    if (credentials.clientIdentity) {
        // CURL_BLOB_COPY: libcurl keeps its own copy in memory.
        const ClientIdentity &identity = *credentials.clientIdentity;
        curl_blob cert{const_cast<char *>(identity.certificatePem.data()), identity.certificatePem.size(),
                       CURL_BLOB_COPY};
        curl_blob key{const_cast<char *>(identity.privateKeyPem.data()), identity.privateKeyPem.size(),
                      CURL_BLOB_COPY};
        curl_easy_setopt(easy, CURLOPT_SSLCERT_BLOB, &cert);
        curl_easy_setopt(easy, CURLOPT_SSLCERTTYPE, "PEM");
        curl_easy_setopt(easy, CURLOPT_SSLKEY_BLOB, &key);
        curl_easy_setopt(easy, CURLOPT_SSLKEYTYPE, "PEM");
    }
    if (!credentials.extraAuthorities.empty()) {
        curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, addAuthorities);
        curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, const_cast<TlsCredentials *>(&credentials));
        // A cached store, or a kept connection, would carry these
        // authorities past the moment they stop being trusted: libcurl
        // matches kept connections on its own options, which do not see
        // what this callback adds. So connections verified with them are
        // neither cached nor kept.
        curl_easy_setopt(easy, CURLOPT_CA_CACHE_TIMEOUT, 0L);
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    }
}

}  // namespace vork::http
