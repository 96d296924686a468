// The device identity and the trusted authorities on the wire: nginx
// requires a client certificate from a CA made at test time and presents a
// server certificate from the same CA.
#include <gtest/gtest.h>

#include <filesystem>

#include "SecurityDoubles.h"
#include "VORKCoreCommC/basics.h"
#include "VORKCoreCommC/security/VORKSecurity.h"
#include "base/SystemRoot.h"
#include "security/TrustSettings.h"
#include "support/Nginx.h"
#include "transfers/HttpTransfer.h"

namespace vork {
namespace {

namespace fs = std::filesystem;

TEST(SecurityTls, StoredIdentityAndTrustedAuthorityReachTheServer) {
    if (!test::Nginx::available()) GTEST_SKIP() << "nginx is not installed";
    test::SystemRootSandbox root;
    test::ProgramScope scope;
    scope.program->exe = fs::canonical("/proc/self/exe").string();
    const std::string folder = root.root().str();
    const auto ca = test::makeCa(folder, kVORKBuiltInCAName);
    const std::string server = test::issueCertificate(ca, folder, "server", "/CN=127.0.0.1");
    test::NginxOptions options;
    options.certificatePath = server;
    options.keyPath = folder + "/server.key";
    options.clientCaPath = ca.certificatePath;
    test::Nginx nginx(folder + "/nginx", options);
    root.root().write("nginx/www/hello.txt", "hello");

    auto fetch = [&](bool presentIdentity) -> int {
        HttpTransfer transfer;
        transfer.setUrl(nginx.httpsUrl("/hello.txt"));
        // The request asks its notify object for a client identity only
        // when it knows the server to present one to.
        if (presentIdentity) transfer.httpRequest().setZelAddressForCredential("127.0.0.1");
        transfer.start();
        while (!transfer.isCompleted()) processRunLoop();
        return transfer.responseCode();  // 403: the server's certificate was refused
    };
    EXPECT_EQ(fetch(true), 403);

    const std::string keychainPath = systemPath(kHttpTransferKeychainPath);
    fs::create_directories(fs::path(keychainPath).parent_path());
    VORKSecurity security(keychainPath);
    auto pair = security.generateKeyPair(nullptr);
    ASSERT_TRUE(pair);
    root.root().write("device.pub", *pair->exportPublicKey(nullptr));
    const std::string device = test::issueCertificate(ca, folder, "device", "/CN=agent/O=VORK Device Certificate",
                                                      folder + "/device.pub");
    auto deviceCert = VORKSecurityCertificate::certificateFromData(test::readFile(device + ".der"), nullptr);
    auto caCert = VORKSecurityCertificate::certificateFromData(test::readFile(ca.certificatePath + ".der"), nullptr);
    ASSERT_TRUE(deviceCert && caCert);
    ASSERT_TRUE(security.saveIdentityCertificate(*deviceCert, nullptr));
    ASSERT_TRUE(security.addAndTrustVorkCACertificate(*caCert, nullptr));

    EXPECT_EQ(fetch(false), 400) << "nginx refuses a client without a certificate";
    EXPECT_EQ(fetch(true), 200);

    ASSERT_TRUE(security.removeAllVorkCACertificates(nullptr));
    EXPECT_TRUE(sec::trustedCertificates().empty());
    EXPECT_EQ(fetch(true), 403);
}

}  // namespace
}  // namespace vork
