#pragma once
// A credential the HTTP request can present: a user name and password for
// HTTP Basic or Digest, or a client identity (certificate and private key,
// PEM) for TLS client authentication.
#include <optional>
#include <string>

namespace vork {

/**
 * The certificate and private key a TLS client presents, both PEM text.
 * The object owns its copies; the private key is unencrypted and lives in
 * memory only (it is never written to a file).
 */
struct ClientIdentity {
    std::string certificatePem;  ///< The client certificate, PEM ("-----BEGIN CERTIFICATE-----").
    std::string privateKeyPem;   ///< The certificate's private key, unencrypted PEM.
};

/**
 * A credential the HTTP request can present when the server asks: acceptance
 * of the server's trust, a user name and password for HTTP Basic or Digest,
 * or a client identity for TLS client authentication. Normally exactly one of
 * them is set, by one of the three makers below. A value type: copies own
 * their texts.
 */
struct URLCredential {
    /// Made from the server's trust object: accept the server.
    bool serverTrust = false;
    std::optional<std::string> user;      ///< The user name for HTTP Basic or Digest; none when not set.
    std::optional<std::string> password;  ///< The password going with user; none when not set. Never logged.
    std::optional<ClientIdentity> identity;  ///< The TLS client identity; none when not set.

    /** A credential that accepts the server's trust (serverTrust true, nothing else set). */
    static URLCredential forTrust() {
        URLCredential c;
        c.serverTrust = true;
        return c;
    }
    /** A user-name-and-password credential; either may be none, and is kept as given. */
    static URLCredential withUser(std::optional<std::string> user, std::optional<std::string> password) {
        URLCredential c;
        c.user = std::move(user);
        c.password = std::move(password);
        return c;
    }

    /** A credential that presents the client identity in the TLS handshake. */
    static URLCredential withIdentity(ClientIdentity identity) {
        URLCredential c;
        c.identity = std::move(identity);
        return c;
    }
};

}  // namespace vork
