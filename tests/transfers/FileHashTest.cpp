// File digests through the C functions and the hashing classes, on real
// files in a per-test folder. The background tests also run under
// ThreadSanitizer, which checks that the result is published before the flag.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

#include "TransferHelpers.h"
#include "http/HttpFixture.h"
#include "security/VORKSecurityError.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/FileHashInBackground.h"
#include "transfers/VORKSecurityFileHash.h"

using namespace std::chrono_literals;
using vork::DigestType;
using vork::DomainError;
using vork::FileHashInBackground;
using vork::VORKSecurityFileHash;
using vork::test::hexDigest;
using vork::test::patternBytes;
using vork::test::RecordingLog;
using vork::test::TempDir;

namespace {

constexpr const char *kEmptyMD5 = "d41d8cd98f00b204e9800998ecf8427e";
constexpr const char *kEmptySHA512 =
    "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538"
    "327af927da3e";
constexpr const char *kAbcMD5 = "900150983cd24fb0d6963f7d28e17f72";
constexpr const char *kAbcSHA512 =
    "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9a"
    "c94fa54ca49f";
const std::string kNotExisting = "Error hashing file. File doesn't exist";

bool waitForBackground() {
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (fileHashIsComplete()) return true;
        std::this_thread::sleep_for(1ms);
    }
    return false;
}

class FileHashC : public ::testing::Test {
protected:
    void TearDown() override { fileHashRelease(); }
    TempDir dir;
    RecordingLog log;
};

// ---- synchronous digests ---------------------------------------------------

TEST_F(FileHashC, DigestsAreLowerCaseHexOrEmptyTextWhenUnreadable) {
    // Not a multiple of the chunk: the last read is short.
    const std::string bytes = patternBytes(3 * VORKSecurityFileHash::kChunkSize + 12345);
    const std::string empty = dir.write("empty", "").string(), abc = dir.write("abc", "abc").string(),
                      big = dir.write("big.bin", bytes).string(), absent = (dir / "absent").string(), folder = dir.str();
    struct Row {
        const char *path;
        std::string md5, sha512;
    };
    for (const Row &row : std::vector<Row>{
             {empty.c_str(), kEmptyMD5, kEmptySHA512},
             {abc.c_str(), kAbcMD5, kAbcSHA512},
             {big.c_str(), hexDigest(bytes, EVP_md5()), hexDigest(bytes, EVP_sha512())},
             {absent.c_str(), "", ""},
             {folder.c_str(), "", ""},
             {nullptr, "", ""},
             {"/tmp/\xff\xfe", "", ""},
             {"\xc0\xaf", "", ""},
         }) {
        SCOPED_TRACE(row.path ? row.path : "(null)");
        EXPECT_EQ(fileHashMD5(row.path), row.md5);
        EXPECT_EQ(fileHashSHA512(row.path), row.sha512);
    }
    EXPECT_EQ(vork::test::readFile(big), bytes);  // only read
    EXPECT_TRUE(log.contains("fileHashMD5 filePath=" + abc));
    EXPECT_TRUE(log.contains("fileHashSHA512 filePath=" + abc));
    EXPECT_TRUE(log.contains("fileHashMD5 filePath=(null)"));
}

TEST_F(FileHashC, UnreadableFileGivesEmptyText) {
    auto file = dir.write("secret", "abc");
    ::chmod(file.c_str(), 0000);
    ::chmod(dir.path().c_str(), 0755);
    auto verdict = vork::test::asUnprivilegedUser([&] {
        DomainError error;
        auto value = VORKSecurityFileHash::md5HashOfFileAtPath(file.string(), &error);
        return std::string(fileHashMD5(file.c_str())).empty() && std::string(fileHashSHA512(file.c_str())).empty() &&
               !value && error.domain == vork::kPosixErrorDomain && error.code == EACCES;
    });
    if (!verdict) GTEST_SKIP() << "cannot switch to an unprivileged user";
    EXPECT_TRUE(*verdict);
}

// ---- the class and its errors ----------------------------------------------

TEST(SecurityFileHash, DigestTypeAndLength) {
    TempDir dir;
    const std::string file = dir.write("abc", "abc").string();
    struct Row {
        DigestType type;
        int length;
        const char *expected;
    };
    for (const Row &row : std::vector<Row>{{DigestType::MD5, 0, kAbcMD5},
                                           {DigestType::SHA2, 512, kAbcSHA512},
                                           {DigestType::SHA2, 0, kAbcSHA512},
                                           {DigestType::SHA2, 256,
                                            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"}}) {
        SCOPED_TRACE(row.length);
        EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file, row.type, row.length), row.expected);
    }
}

TEST(SecurityFileHash, FailuresAnswerNothingAndDescribeTheError) {
    TempDir dir;
    const std::string file = dir.write("abc", "abc").string(), absent = (dir / "absent").string();
    using Hash = std::function<std::optional<std::string>(DomainError *)>;
    const std::string security = VORKSecurityErrorDomain;
    const std::vector<std::pair<Hash, DomainError>> rows = {
        {[&](DomainError *e) { return VORKSecurityFileHash::md5HashOfFileAtPath(absent, e); },
         {security, 4, kNotExisting}},
        {[&](DomainError *e) { return VORKSecurityFileHash::sha512HashOfFileAtPath(std::nullopt, e); },
         {security, 4, kNotExisting}},
        // A read failure is the system's own error.
        {[&](DomainError *e) { return VORKSecurityFileHash::sha512HashOfFileAtPath(dir.str(), e); },
         {vork::kPosixErrorDomain, EISDIR, std::strerror(EISDIR)}},
        {[&](DomainError *e) { return VORKSecurityFileHash::hashOfFileAtPath(file, DigestType::MD5, 512, e); },
         {security, 4,
          "Error hashing file. Failed to create a digest computation object for the type and length of digest."}},
    };
    for (const auto &[hash, expected] : rows) {
        SCOPED_TRACE(expected.description);
        DomainError error;
        EXPECT_EQ(hash(&error), std::nullopt);
        EXPECT_EQ(error, expected);
        EXPECT_EQ(hash(nullptr), std::nullopt);  // without an error out the answer is the same
    }
}

TEST(SecurityFileHash, StopFlagEndsTheReadingWithoutAnError) {
    TempDir dir;
    auto file = dir.write("a", patternBytes(3 * VORKSecurityFileHash::kChunkSize));
    std::atomic<bool> stop{true};
    DomainError error{"untouched", 0, ""};
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::MD5, 0, &error, &stop), std::nullopt);
    EXPECT_EQ(error.domain, "untouched");
}

TEST(SecurityFileHash, HexAndErrorHelpers) {
    EXPECT_EQ(VORKSecurityFileHash::stringWithHexFromData(std::string_view("\x00\x0f\xab\xff", 4)), "000fabff");
    EXPECT_EQ(VORKSecurityFileHash::stringWithHexFromData(""), "");
    EXPECT_STREQ(VORKSecurityErrorDomain, "com.vork.security.error");
    DomainError made = VORKSecurityFileHash::createErrorWithText("why");
    EXPECT_EQ(made, (DomainError{"com.vork.security.error", 4, "Error hashing file. why"}));
    EXPECT_EQ(vork::VORKSecurityError::errorWithCode(3, "").domain, std::string(VORKSecurityErrorDomain));
}

// ---- background hashing through the C functions ----------------------------

TEST_F(FileHashC, NothingStartedMeansNotCompleteAndNoResult) {
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
    EXPECT_TRUE(log.contains("fileHashIsComplete=NO"));
    EXPECT_EQ(fileHashResult(), nullptr);
    EXPECT_TRUE(log.contains("fileHashIsComplete=(null)"));
}

TEST_F(FileHashC, BackgroundStartsReuseOneHasherAndEachClearsThePreviousResult) {
    const std::string data = dir.write("data", patternBytes(5 << 20)).string(), empty = dir.write("empty", "").string(),
                      absent = (dir / "absent").string();
    const std::string md5 = fileHashMD5(data.c_str());
    struct Row {
        void (*start)(const char *);
        const char *path;
        const char *expected;  // nullptr: completes without a result
    };
    VORKFileHashInBackground *hasher = nullptr;
    for (const Row &row : std::vector<Row>{{fileHashMD5Start, data.c_str(), md5.c_str()},
                                           {fileHashSHA512Start, empty.c_str(), kEmptySHA512},
                                           {fileHashMD5Start, absent.c_str(), nullptr},
                                           {fileHashSHA512Start, nullptr, nullptr},
                                           {fileHashSHA512Start, "\xff", nullptr}}) {
        SCOPED_TRACE(row.path ? row.path : "(null)");
        row.start(row.path);
        ASSERT_NE(g_FileHashInBackground, nullptr);
        if (hasher) { EXPECT_EQ(g_FileHashInBackground, hasher); }
        hasher = g_FileHashInBackground;
        ASSERT_TRUE(waitForBackground());
        if (row.expected) { EXPECT_STREQ(fileHashResult(), row.expected); }
        else { EXPECT_EQ(fileHashResult(), nullptr); }
    }
    EXPECT_TRUE(log.contains("fileHashMD5Start filePath=" + data));
    EXPECT_TRUE(log.contains("fileHashSHA512Start filePath=" + empty));
    EXPECT_TRUE(log.contains("fileHashIsComplete=YES"));
    // A result is logged under the completion label.
    EXPECT_TRUE(log.contains("fileHashIsComplete=" + md5));
    fileHashRelease();
    EXPECT_TRUE(log.contains("fileHashRelease"));
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
    EXPECT_EQ(fileHashResult(), nullptr);
}

TEST_F(FileHashC, InitializeMakesOneHasher) {
    fileHashInBackgroundInitialize();
    VORKFileHashInBackground *made = g_FileHashInBackground;
    ASSERT_NE(made, nullptr);
    fileHashInBackgroundInitialize();
    EXPECT_EQ(g_FileHashInBackground, made);
    EXPECT_FALSE(fileHashIsComplete());
    EXPECT_EQ(fileHashResult(), nullptr);
}

TEST_F(FileHashC, OverlappingStartsLeaveOneOfTheirResults) {
    auto file = dir.write("data", patternBytes(2 << 20));
    const std::string md5 = fileHashMD5(file.c_str());
    const std::string sha = fileHashSHA512(file.c_str());
    for (int i = 0; i < 8; ++i) (i % 2 ? fileHashMD5Start : fileHashSHA512Start)(file.c_str());
    ASSERT_TRUE(waitForBackground());
    const char *result = fileHashResult();
    ASSERT_NE(result, nullptr);
    EXPECT_TRUE(result == md5 || result == sha) << result;
}

TEST_F(FileHashC, ReleaseWhileComputingIsSafe) {
    auto file = dir.write("data", patternBytes(16 << 20));
    fileHashSHA512Start(file.c_str());
    fileHashMD5Start(file.c_str());
    fileHashRelease();
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
}

// ---- the background class --------------------------------------------------

TEST(FileHashInBackgroundClass, ResultIsVisibleOnceDoneIsSeenOnFreshAndReusedHashers) {
    TempDir dir;
    const std::string big = dir.write("data", patternBytes(1 << 20)).string(), abc = dir.write("abc", "abc").string();
    const std::string expected = hexDigest(patternBytes(1 << 20), EVP_sha512());
    FileHashInBackground reused;
    for (int round = 0; round < 50; ++round) {
        FileHashInBackground fresh;
        fresh.startSHA512FileHashOfFilepath(big);
        reused.startMD5FileHashOfFilepath(abc);
        while (!fresh.done() || !reused.done()) std::this_thread::yield();
        EXPECT_EQ(fresh.hashValue(), expected);
        EXPECT_EQ(reused.hashValue(), kAbcMD5);
    }
}

TEST(FileHashInBackgroundClass, DirectComputationAndReset) {
    TempDir dir;
    auto file = dir.write("abc", "abc");
    FileHashInBackground hasher;
    EXPECT_FALSE(hasher.done());
    hasher.MD5Hash(file.string());
    EXPECT_TRUE(hasher.done());
    EXPECT_EQ(hasher.hashValue(), kAbcMD5);
    hasher.reset();
    EXPECT_FALSE(hasher.done());
    EXPECT_EQ(hasher.hashValue(), std::nullopt);
    hasher.SHA512Hash(file.string());
    EXPECT_EQ(hasher.hashValue(), kAbcSHA512);
}

}  // namespace
