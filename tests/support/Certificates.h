#pragma once
// Test credentials made at run time with the openssl tool: a self-signed
// server certificate for 127.0.0.1 and an htpasswd file (apr1 hashes).
#include <string>

namespace vork::test {

struct SelfSignedCertificate {
    std::string certificatePath;
    std::string keyPath;
};

// Makes cert.pem and key.pem (EC P-256, CN and subjectAltName 127.0.0.1)
// in the folder. Throws std::runtime_error when openssl fails.
SelfSignedCertificate makeSelfSignedCertificate(const std::string &folder);

// Writes an htpasswd file with one user whose password is hashed with
// `openssl passwd -apr1`. Throws std::runtime_error when openssl fails.
void writeHtpasswd(const std::string &path, const std::string &user, const std::string &password);

// Runs a shell command and answers its standard output (throws when it fails).
std::string commandOutput(const std::string &command);

}  // namespace vork::test
