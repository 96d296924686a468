#pragma once
// What a request brings to its TLS handshake beyond libcurl's defaults: a
// client certificate and private key held in memory (never written to
// disk), and extra certificate authorities trusted beside the system's.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http/URLCredential.h"

namespace vork::http {

struct TlsCredentials {
    // PEM, in memory only.
    std::optional<ClientIdentity> clientIdentity;
    // DER certificates added to the verification store of the connection.
    std::vector<std::string> extraAuthorities;

    bool empty() const { return !clientIdentity && extraAuthorities.empty(); }
};

// The credentials for one connection: the request's own plus every
// certificate trusted through the trust settings; null when there are none.
std::shared_ptr<const TlsCredentials> tlsCredentialsFor(TlsCredentials base);

// Applies the credentials to a curl easy handle (void * keeps curl out of
// this header). The credentials must outlive the transfer.
void applyTlsCredentials(void *easyHandle, const TlsCredentials &credentials);

}  // namespace vork::http
