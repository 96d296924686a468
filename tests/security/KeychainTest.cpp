// The credential store through the security classes: what the keychain file
// holds, passwords, access lists, trust domains, CA removal and a failed
// write.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "SecurityDoubles.h"
#include "VORKCoreCommC/security/VORKSecurity.h"
#include "base/SystemRoot.h"
#include "security/TrustSettings.h"
#include "security/store/Keychain.h"
#include "util/FileManager.h"

namespace vork {
namespace {

namespace fs = std::filesystem;
using test::commandOutput;
using test::readFile;

const std::string kPassword = VORKSecurityPlainTextPasswordThisIsBad;

struct KeychainTest : ::testing::Test {
    test::SystemRootSandbox root;
    test::ProgramScope scope;
    std::string path = root.root().str() + "/agent.keychain";
    KeychainTest() {
        scope.program->exe = fs::canonical("/proc/self/exe").string();
        scope.program->uid = 0;
    }
    VORKSecurityCertificate certificate(const std::string &pem) {
        auto c = VORKSecurityCertificate::certificateFromData(readFile(pem + ".der"), nullptr);
        EXPECT_TRUE(c);
        return *c;
    }
    // A facade keychain with a key pair and a device certificate for it.
    VORKSecurityKeyPair deviceIdentity(VORKSecurity &security) {
        auto pair = security.generateKeyPair(nullptr);
        EXPECT_TRUE(pair);
        root.root().write("device.pub", *pair->exportPublicKey(nullptr));
        auto ca = test::makeCa(root.root().str(), "Device CA");
        auto pem = test::issueCertificate(ca, root.root().str(), "device", "/CN=agent/O=VORK Device Certificate",
                                          root.root().str() + "/device.pub");
        EXPECT_TRUE(security.saveIdentityCertificate(certificate(pem), nullptr));
        return *pair;
    }
};

TEST_F(KeychainTest, CreatedKeychainHasItsModesAndNoKeyInClear) {
    auto owners = std::make_shared<test::RecordingOwnership>();
    auto installed = platform::fileAttributes().install(owners);
    VORKSecurity security(path);
    auto pair = deviceIdentity(security);

    EXPECT_EQ(owners->owners[path], std::make_pair(uid_t(0), util::adminGroupId()));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(fs::exists(path + "-journal"));

    // The private key, decrypted by openssl from an export, is nowhere in
    // the file; the certificate is there as DER.
    root.root().write("export.pem", *pair.exportPrivateKeyWithPassword("export", nullptr));
    const std::string clear =
        commandOutput("openssl pkey -in '" + root.root().str() + "/export.pem' -passin pass:export -outform DER");
    ASSERT_GT(clear.size(), 1000u);
    const std::string file = readFile(path);
    EXPECT_EQ(file.find(clear.substr(clear.size() / 2, 128)), std::string::npos);
    EXPECT_NE(file.find(readFile(root.root().str() + "/device.pem.der")), std::string::npos);
}

TEST_F(KeychainTest, PasswordsAndAccessListsDecideWhoGetsTheKey) {
    // The user and program (null: the creating one) that use the keychain, whether another program changed
    // its password in between, and the error code (0: the signature is made).
    struct Case { const char *name; uid_t uid; const char *exe; bool passwordChanged; long code; };
    for (const Case &c : std::vector<Case>{{"root, another program", 0, "/usr/bin/other", false, 0},
                                           {"user, the creating program", 501, nullptr, false, 0},
                                           {"user, another program", 501, "/usr/bin/other", false, errSecInteractionNotAllowed},
                                           {"password changed elsewhere", 0, nullptr, true, errSecAuthFailed}}) {
        SCOPED_TRACE(c.name);
        fs::remove(path);
        scope.program->uid = 0;
        scope.program->exe = fs::canonical("/proc/self/exe").string();
        {
            VORKSecurity creator(path);
            deviceIdentity(creator);
        }
        scope.program->uid = c.uid;
        if (c.exe) scope.program->exe = c.exe;
        if (c.passwordChanged) {
            SecKeychainRef other;
            ASSERT_EQ(sec::Keychain::open(path, other), errSecSuccess);
            ASSERT_EQ(other->changePassword(kPassword, "changed"), errSecSuccess);
        }
        VORKSecurity security(path);
        DomainError error;
        auto signature = security.signatureOfData("data", &error);
        EXPECT_EQ(signature.has_value(), c.code == 0);
        EXPECT_EQ(error.code, c.code);
        if (c.code) {
            EXPECT_EQ(error.domain, VORKSecurityErrorDomain);
        }
    }
    // Wrong password and no password through the keychain itself.
    auto keychain = VORKSecurityKeychain::loadKeychainAtPath(path, nullptr);
    DomainError error;
    EXPECT_FALSE(keychain->unlockWithPassword(std::string("wrong"), &error));
    EXPECT_EQ(error.code, errSecAuthFailed);
    EXPECT_FALSE(keychain->unlockWithPassword(std::nullopt, &error));
    EXPECT_EQ(error.code, errSecInteractionNotAllowed);
}

TEST_F(KeychainTest, FacadeWithoutFileAnswersCodeThree) {
    VORKSecurity security;
    DomainError error;
    EXPECT_FALSE(security.signatureOfData("x", &error));
    EXPECT_EQ(error.code, kVORKSecurityKeychainMissing);
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(KeychainTest, TrustGoesToTheFirstDomainThePrivilegeAllows) {
    auto ca = test::makeCa(root.root().str(), "Trust CA");
    auto cert = certificate(test::issueCertificate(ca, root.root().str(), "leaf", "/CN=leaf"));
    const std::string folder = systemPath("/Library/Security/Trust Settings");
    struct Case { uid_t uid; bool admin; std::string file; };
    for (const Case &c : {Case{0, false, "/System.pem"}, Case{501, true, "/Admin.pem"},
                          Case{501, false, "/Users/501.pem"}}) {
        SCOPED_TRACE(c.file);
        fs::remove_all(folder);
        scope.program->uid = c.uid;
        scope.program->groups = c.admin ? std::set<gid_t>{util::adminGroupId()} : std::set<gid_t>{};
        SecKeychainRef ref;
        ASSERT_EQ(sec::Keychain::create(path + c.file.substr(1, 3), kPassword, nullptr, ref), errSecSuccess);
        VORKSecurityKeychain keychain(ref);
        EXPECT_TRUE(keychain.trustCertificate(cert, nullptr));
        EXPECT_TRUE(fs::exists(folder + c.file));
        EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder), fs::recursive_directory_iterator()),
                  c.file.find("Users") == std::string::npos ? 1 : 2);
    }
    // All three refuse: the user domain's status is the one reported.
    fs::remove_all(folder);
    root.root().write("Library/Security/Trust Settings/Users", "not a folder");
    DomainError error;
    EXPECT_FALSE(VORKSecurityKeychain(nullptr).trustCertificate(cert, &error));
    EXPECT_EQ(error.code, errSecIO);
}

TEST_F(KeychainTest, TrustListIsReadAgainAfterAChangeOrASecond) {
    auto ca = test::makeCa(root.root().str(), "Kept CA");
    const std::string pem = test::issueCertificate(ca, root.root().str(), "kept", "/CN=kept");
    ASSERT_TRUE(sec::trustedCertificates().empty());
    // Another process writes a domain: the list read a moment ago stands...
    root.root().write("Library/Security/Trust Settings/System.pem", readFile(pem));
    EXPECT_TRUE(sec::trustedCertificates().empty());
    // ...for a second at most.
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_EQ(sec::trustedCertificates().size(), 1u);
    // A change through the library shows at once.
    EXPECT_EQ(sec::removeTrust(readFile(pem + ".der")), errSecSuccess);
    EXPECT_TRUE(sec::trustedCertificates().empty());
}

TEST_F(KeychainTest, CaRemovalMatchesTheNameCaseSensitively) {
    auto ca = test::makeCa(root.root().str(), "Issuer");
    auto keychain = VORKSecurityKeychain::createKeychainAtPath(path, kPassword, nullptr, nullptr);
    DomainError error;
    EXPECT_FALSE(keychain->removeAllVorkCACertificates(&error));
    EXPECT_EQ(error.code, errSecItemNotFound);
    for (const char *name : {"Old ZEL Built-in Certificate Authority 2", "zel built-in certificate authority"}) {
        auto cert = certificate(test::issueCertificate(ca, root.root().str(), name, std::string("/CN=") + name));
        EXPECT_TRUE(keychain->addAndTrustVorkCACertificate(cert, nullptr));
        EXPECT_TRUE(keychain->addCertificate(cert, nullptr)) << "a duplicate counts as added";
    }
    EXPECT_EQ(sec::trustedCertificates().size(), 2u);
    EXPECT_TRUE(keychain->removeAllVorkCACertificates(nullptr));
    auto left = keychain->allCertificates(nullptr);
    ASSERT_TRUE(left);
    ASSERT_EQ(left->size(), 1u);
    EXPECT_EQ(left->front().description(), "zel built-in certificate authority");
}

// A VFS that fails every write once armed: a full disk under SQLite.
struct FailingVfs {
    using Write = int (*)(sqlite3_file *, const void *, int, sqlite3_int64);
    static inline sqlite3_vfs *real = nullptr;
    static inline bool armed = false;
    static inline sqlite3_io_methods methods{};
    static inline Write write = nullptr;
    static int open(sqlite3_vfs *, const char *name, sqlite3_file *f, int flags, int *out) {
        const int rc = real->xOpen(real, name, f, flags, out);
        if (rc != SQLITE_OK || !f->pMethods) return rc;
        methods = *f->pMethods;
        write = f->pMethods->xWrite;
        methods.xWrite = [](sqlite3_file *file, const void *b, int n, sqlite3_int64 o) {
            return armed ? SQLITE_FULL : write(file, b, n, o);
        };
        f->pMethods = &methods;
        return rc;
    }
    sqlite3_vfs vfs{};
    FailingVfs() {
        real = sqlite3_vfs_find(nullptr);
        vfs = *real;
        vfs.zName = "failing";
        vfs.xOpen = &FailingVfs::open;
        sqlite3_vfs_register(&vfs, 1);
    }
    ~FailingVfs() {
        armed = false;
        sqlite3_vfs_unregister(&vfs);
        sqlite3_vfs_register(real, 1);
    }
};

TEST_F(KeychainTest, FailedWriteLeavesThePreviousKeychain) {
    auto ca = test::makeCa(root.root().str(), "Issuer");
    auto first = certificate(test::issueCertificate(ca, root.root().str(), "first", "/CN=first"));
    auto second = certificate(test::issueCertificate(ca, root.root().str(), "second", "/CN=second"));
    {
        FailingVfs failing;
        auto keychain = VORKSecurityKeychain::createKeychainAtPath(path, kPassword, nullptr, nullptr);
        ASSERT_TRUE(keychain->addCertificate(first, nullptr));
        FailingVfs::armed = true;
        DomainError error;
        EXPECT_FALSE(keychain->addCertificate(second, &error));
        EXPECT_EQ(error.code, errSecDiskFull);
    }
    auto reopened = VORKSecurityKeychain::loadKeychainAtPath(path, nullptr);
    ASSERT_TRUE(reopened);
    auto all = reopened->allCertificates(nullptr);
    ASSERT_TRUE(all);
    ASSERT_EQ(all->size(), 1u);
    EXPECT_TRUE(all->front() == first);
    EXPECT_FALSE(fs::exists(path + "-journal"));
}

}  // namespace
}  // namespace vork
