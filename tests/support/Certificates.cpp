#include "Certificates.h"

#include <cstdio>
#include <stdexcept>

namespace vork::test {

std::string commandOutput(const std::string &command) {
    FILE *pipe = ::popen(command.c_str(), "r");
    if (!pipe) throw std::runtime_error("cannot run: " + command);
    std::string out;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    if (::pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
    return out;
}

SelfSignedCertificate makeSelfSignedCertificate(const std::string &folder) {
    SelfSignedCertificate c{folder + "/cert.pem", folder + "/key.pem"};
    commandOutput("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
                  " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1"
                  " -keyout '" + c.keyPath + "' -out '" + c.certificatePath + "' 2>/dev/null");
    return c;
}

}  // namespace vork::test
