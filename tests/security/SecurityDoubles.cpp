#include "SecurityDoubles.h"

#include <sys/stat.h>

namespace vork::test {

TestCa makeCa(const std::string &folder, const std::string &commonName) {
    TestCa ca{folder + "/ca.pem", folder + "/ca.key"};
    commandOutput("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj '/CN=" + commonName + "' -keyout '" +
                  ca.keyPath + "' -out '" + ca.certificatePath + "' 2>/dev/null && openssl x509 -in '" +
                  ca.certificatePath + "' -outform DER -out '" + ca.certificatePath + ".der'");
    return ca;
}

std::string issueCertificate(const TestCa &ca, const std::string &folder, const std::string &name,
                             const std::string &subject, const std::string &publicKeyDer) {
    const std::string pem = folder + "/" + name + ".pem";
    std::string key = publicKeyDer;
    if (key.empty()) {
        commandOutput("openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out '" + folder + "/" + name +
                      ".key' 2>/dev/null && openssl pkey -in '" + folder + "/" + name + ".key' -pubout -outform DER -out '" +
                      folder + "/" + name + ".pub'");
        key = folder + "/" + name + ".pub";
    }
    const std::string extensions = folder + "/" + name + ".ext";
    commandOutput("printf 'subjectAltName=IP:127.0.0.1\\n' > '" + extensions + "' && openssl x509 -new -subj '" + subject + "' -force_pubkey '" + key + "' -keyform DER -CA '" +
                  ca.certificatePath + "' -CAkey '" + ca.keyPath +
                  "' -days 2 -extfile '" + extensions + "' -out '" + pem + "' 2>/dev/null" +
                  " && openssl x509 -in '" + pem + "' -outform DER -out '" + pem + ".der'");
    return pem;
}

}  // namespace vork::test
