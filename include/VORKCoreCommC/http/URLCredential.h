#pragma once
// A credential the HTTP request can present: a user name and password for
// HTTP Basic or Digest, or a client identity (certificate and private key,
// PEM) for TLS client authentication.
#include <optional>
#include <string>

namespace vork {

struct ClientIdentity {
    std::string certificatePem;
    std::string privateKeyPem;
};

struct URLCredential {
    // Made from the server's trust object: accept the server.
    bool serverTrust = false;
    std::optional<std::string> user;
    std::optional<std::string> password;
    std::optional<ClientIdentity> identity;

    static URLCredential forTrust() {
        URLCredential c;
        c.serverTrust = true;
        return c;
    }
    static URLCredential withUser(std::optional<std::string> user, std::optional<std::string> password) {
        URLCredential c;
        c.user = std::move(user);
        c.password = std::move(password);
        return c;
    }

    static URLCredential withIdentity(ClientIdentity identity) {
        URLCredential c;
        c.identity = std::move(identity);
        return c;
    }
};

}  // namespace vork
