#pragma once
// Test credentials made at run time with the openssl tool: a self-signed
// server certificate for 127.0.0.1.
#include <string>

namespace vork::test {

struct SelfSignedCertificate {
    std::string certificatePath;
    std::string keyPath;
};

// Makes cert.pem and key.pem (EC P-256, CN and subjectAltName 127.0.0.1)
// in the folder. Throws std::runtime_error when openssl fails.
SelfSignedCertificate makeSelfSignedCertificate(const std::string &folder);

// Runs a shell command and answers its standard output (throws when it fails).
std::string commandOutput(const std::string &command);

}  // namespace vork::test
