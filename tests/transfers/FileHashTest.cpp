// File digests through the C functions and the hashing classes, on real
// files in a per-test folder. The background tests also run under
// ThreadSanitizer, which checks that the result is published before the flag.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>

#include "security/VORKSecurityError.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/FileHashInBackground.h"
#include "transfers/VORKSecurityFileHash.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using vork::DigestType;
using vork::DomainError;
using vork::FileHashInBackground;
using vork::VORKSecurityFileHash;
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

std::string pattern(size_t size) {
    std::string out(size, '\0');
    uint32_t x = 12345;
    for (size_t i = 0; i < size; ++i) {
        x = x * 1664525u + 1013904223u;
        out[i] = static_cast<char>(x >> 24);
    }
    return out;
}

// The digest of bytes held in memory, in one call: an independent reference
// for the chunked reading of files.
std::string digestOf(const std::string &bytes, const EVP_MD *md) {
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(bytes.data(), bytes.size(), out, &length, md, nullptr);
    static const char *digits = "0123456789abcdef";
    std::string hex;
    for (unsigned i = 0; i < length; ++i) {
        hex += digits[out[i] >> 4];
        hex += digits[out[i] & 15];
    }
    return hex;
}

bool waitForBackground() {
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (fileHashIsComplete()) return true;
        std::this_thread::sleep_for(1ms);
    }
    return false;
}

std::optional<bool> asUnprivilegedUser(const std::function<bool()> &body) {
    if (::geteuid() != 0) return body();
    pid_t child = ::fork();
    if (child < 0) return std::nullopt;
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
        ::_exit(body() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 3) return std::nullopt;
    return WEXITSTATUS(status) == 0;
}

class FileHashC : public ::testing::Test {
protected:
    void TearDown() override { fileHashRelease(); }
    TempDir dir;
    RecordingLog log;
};

// ---- synchronous digests ---------------------------------------------------

TEST_F(FileHashC, EmptyFileGivesTheStandardDigests) {
    auto file = dir.write("empty", "");
    EXPECT_STREQ(fileHashMD5(file.c_str()), kEmptyMD5);
    EXPECT_STREQ(fileHashSHA512(file.c_str()), kEmptySHA512);
}

TEST_F(FileHashC, KnownVectorsInLowerCaseWithoutSeparators) {
    auto file = dir.write("abc", "abc");
    EXPECT_STREQ(fileHashMD5(file.c_str()), kAbcMD5);
    EXPECT_STREQ(fileHashSHA512(file.c_str()), kAbcSHA512);
    std::string sha = fileHashSHA512(file.c_str());
    EXPECT_EQ(sha.size(), 128u);
    EXPECT_EQ(sha.find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST_F(FileHashC, FileLargerThanOneChunkMatchesTheInMemoryDigest) {
    // Not a multiple of the chunk: the last read is short.
    const std::string bytes = pattern(3 * VORKSecurityFileHash::kChunkSize + 12345);
    auto file = dir.write("big.bin", bytes);
    EXPECT_EQ(fileHashMD5(file.c_str()), digestOf(bytes, EVP_md5()));
    EXPECT_EQ(fileHashSHA512(file.c_str()), digestOf(bytes, EVP_sha512()));
    EXPECT_EQ(vork::test::readFile(file), bytes);  // only read
}

TEST_F(FileHashC, EachCallLogsItsPath) {
    auto file = dir.write("abc", "abc");
    fileHashMD5(file.c_str());
    fileHashSHA512(file.c_str());
    EXPECT_TRUE(log.contains("fileHashMD5 filePath=" + file.string()));
    EXPECT_TRUE(log.contains("fileHashSHA512 filePath=" + file.string()));
}

TEST_F(FileHashC, MissingFileGivesEmptyText) {
    EXPECT_STREQ(fileHashMD5((dir / "absent").c_str()), "");
    EXPECT_STREQ(fileHashSHA512((dir / "absent").c_str()), "");
}

TEST_F(FileHashC, FolderGivesEmptyText) {
    EXPECT_STREQ(fileHashMD5(dir.str().c_str()), "");
    EXPECT_STREQ(fileHashSHA512(dir.str().c_str()), "");
}

TEST_F(FileHashC, NullAndNonUtf8PathsGiveEmptyText) {
    EXPECT_STREQ(fileHashMD5(nullptr), "");
    EXPECT_STREQ(fileHashSHA512(nullptr), "");
    EXPECT_TRUE(log.contains("fileHashMD5 filePath=(null)"));
    EXPECT_STREQ(fileHashMD5("/tmp/\xff\xfe"), "");
    EXPECT_STREQ(fileHashSHA512("\xc0\xaf"), "");
}

TEST_F(FileHashC, UnreadableFileGivesEmptyText) {
    auto file = dir.write("secret", "abc");
    ::chmod(file.c_str(), 0000);
    ::chmod(dir.path().c_str(), 0755);
    auto verdict = asUnprivilegedUser([&] {
        DomainError error;
        auto value = VORKSecurityFileHash::md5HashOfFileAtPath(file.string(), &error);
        return std::string(fileHashMD5(file.c_str())).empty() && std::string(fileHashSHA512(file.c_str())).empty() &&
               !value && error.domain == vork::kPosixErrorDomain && error.code == EACCES;
    });
    if (!verdict) GTEST_SKIP() << "cannot switch to an unprivileged user";
    EXPECT_TRUE(*verdict);
}

// ---- the class and its errors ----------------------------------------------

TEST(SecurityFileHash, MissingFileIsASecurityError) {
    TempDir dir;
    DomainError error;
    EXPECT_EQ(VORKSecurityFileHash::md5HashOfFileAtPath((dir / "absent").string(), &error), std::nullopt);
    EXPECT_EQ(error.domain, std::string(VORKSecurityErrorDomain));
    EXPECT_EQ(error.code, 4);
    EXPECT_EQ(error.description, "Error hashing file. File doesn't exist");

    DomainError none;
    EXPECT_EQ(VORKSecurityFileHash::sha512HashOfFileAtPath(std::nullopt, &none), std::nullopt);
    EXPECT_EQ(none.description, "Error hashing file. File doesn't exist");
    // Without an error out the answer is the same.
    EXPECT_EQ(VORKSecurityFileHash::sha512HashOfFileAtPath(std::nullopt), std::nullopt);
}

TEST(SecurityFileHash, ReadFailureIsTheSystemsOwnError) {
    TempDir dir;
    DomainError error;
    EXPECT_EQ(VORKSecurityFileHash::sha512HashOfFileAtPath(dir.str(), &error), std::nullopt);
    EXPECT_EQ(error.domain, vork::kPosixErrorDomain);
    EXPECT_EQ(error.code, EISDIR);
    EXPECT_EQ(error.description, std::strerror(EISDIR));
}

TEST(SecurityFileHash, DigestTypeAndLength) {
    TempDir dir;
    auto file = dir.write("abc", "abc");
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::MD5, 0), kAbcMD5);
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::SHA2, 512), kAbcSHA512);
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::SHA2, 0), kAbcSHA512);
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::SHA2, 256),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");

    DomainError error;
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::MD5, 512, &error), std::nullopt);
    EXPECT_EQ(error.domain, std::string(VORKSecurityErrorDomain));
    EXPECT_EQ(error.code, 4);
    EXPECT_EQ(error.description,
              "Error hashing file. Failed to create a digest computation object for the type and length of digest.");
}

TEST(SecurityFileHash, StopFlagEndsTheReadingWithoutAnError) {
    TempDir dir;
    auto file = dir.write("a", pattern(3 * VORKSecurityFileHash::kChunkSize));
    std::atomic<bool> stop{true};
    DomainError error{"untouched", 0, ""};
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file.string(), DigestType::MD5, 0, &error, &stop), std::nullopt);
    EXPECT_EQ(error.domain, "untouched");
}

TEST(SecurityFileHash, HexAndErrorHelpers) {
    EXPECT_EQ(VORKSecurityFileHash::stringWithHexFromData(std::string_view("\x00\x0f\xab\xff", 4)), "000fabff");
    EXPECT_EQ(VORKSecurityFileHash::stringWithHexFromData(""), "");
    DomainError made = VORKSecurityFileHash::createErrorWithText("why");
    EXPECT_EQ(made, (DomainError{"com.vork.security.error", 4, "Error hashing file. why"}));
    EXPECT_EQ(vork::VORKSecurityError::errorWithCode(3, "").domain, std::string(VORKSecurityErrorDomain));
}

TEST(SecurityErrorDomain, IsAReverseDomainNameEndingInError) {
    const std::string domain = VORKSecurityErrorDomain;
    EXPECT_EQ(domain.rfind("com.", 0), 0u);
    EXPECT_EQ(domain.substr(domain.size() - 6), ".error");
}

// ---- background hashing through the C functions -------------------------------

TEST_F(FileHashC, NothingStartedMeansNotCompleteAndNoResult) {
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
    EXPECT_TRUE(log.contains("fileHashIsComplete=NO"));
    EXPECT_EQ(fileHashResult(), nullptr);
    EXPECT_TRUE(log.contains("fileHashIsComplete=(null)"));
}

TEST_F(FileHashC, BackgroundMD5MatchesTheSynchronousDigest) {
    auto file = dir.write("data", pattern(5 << 20));
    const std::string expected = fileHashMD5(file.c_str());
    fileHashMD5Start(file.c_str());
    EXPECT_TRUE(log.contains("fileHashMD5Start filePath=" + file.string()));
    ASSERT_NE(g_FileHashInBackground, nullptr);
    ASSERT_TRUE(waitForBackground());
    EXPECT_TRUE(log.contains("fileHashIsComplete=YES"));
    ASSERT_NE(fileHashResult(), nullptr);
    EXPECT_EQ(std::string(fileHashResult()), expected);
    // The result is logged under the completion label.
    EXPECT_TRUE(log.contains("fileHashIsComplete=" + expected));
    fileHashRelease();
    EXPECT_TRUE(log.contains("fileHashRelease"));
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
    EXPECT_EQ(fileHashResult(), nullptr);
}

TEST_F(FileHashC, BackgroundSHA512OfAnEmptyFile) {
    auto file = dir.write("empty", "");
    fileHashSHA512Start(file.c_str());
    EXPECT_TRUE(log.contains("fileHashSHA512Start filePath=" + file.string()));
    ASSERT_TRUE(waitForBackground());
    EXPECT_STREQ(fileHashResult(), kEmptySHA512);
}

TEST_F(FileHashC, BackgroundFailureCompletesWithoutAResult) {
    fileHashMD5Start((dir / "absent").c_str());
    ASSERT_TRUE(waitForBackground());
    EXPECT_EQ(fileHashResult(), nullptr);
    fileHashSHA512Start(nullptr);
    ASSERT_TRUE(waitForBackground());
    EXPECT_EQ(fileHashResult(), nullptr);
    fileHashSHA512Start("\xff");
    ASSERT_TRUE(waitForBackground());
    EXPECT_EQ(fileHashResult(), nullptr);
}

TEST_F(FileHashC, NextStartClearsThePreviousResult) {
    auto a = dir.write("a", "abc");
    auto b = dir.write("b", "");
    fileHashMD5Start(a.c_str());
    ASSERT_TRUE(waitForBackground());
    EXPECT_STREQ(fileHashResult(), kAbcMD5);
    VORKFileHashInBackground *same = g_FileHashInBackground;
    fileHashSHA512Start(b.c_str());
    EXPECT_EQ(g_FileHashInBackground, same);  // the hasher is reused
    ASSERT_TRUE(waitForBackground());
    EXPECT_STREQ(fileHashResult(), kEmptySHA512);
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
    auto file = dir.write("data", pattern(2 << 20));
    const std::string md5 = fileHashMD5(file.c_str());
    const std::string sha = fileHashSHA512(file.c_str());
    for (int i = 0; i < 8; ++i) {
        if (i % 2) fileHashMD5Start(file.c_str());
        else fileHashSHA512Start(file.c_str());
    }
    ASSERT_TRUE(waitForBackground());
    const char *result = fileHashResult();
    ASSERT_NE(result, nullptr);
    EXPECT_TRUE(result == md5 || result == sha) << result;
}

TEST_F(FileHashC, ReleaseWhileComputingIsSafe) {
    auto file = dir.write("data", pattern(16 << 20));
    fileHashSHA512Start(file.c_str());
    fileHashMD5Start(file.c_str());
    fileHashRelease();
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
}

// ---- the background class -----------------------------------------------------

TEST(FileHashInBackgroundClass, ResultIsVisibleOnceDoneIsSeen) {
    TempDir dir;
    auto file = dir.write("data", pattern(1 << 20));
    const std::string expected = digestOf(pattern(1 << 20), EVP_sha512());
    for (int round = 0; round < 20; ++round) {
        FileHashInBackground hasher;
        hasher.startSHA512FileHashOfFilepath(file.string());
        while (!hasher.done()) std::this_thread::yield();
        EXPECT_EQ(hasher.hashValue(), expected);
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

TEST(FileHashInBackgroundClass, ManyComputationsOnOneHasher) {
    TempDir dir;
    auto file = dir.write("abc", "abc");
    FileHashInBackground hasher;
    for (int i = 0; i < 50; ++i) {
        hasher.startMD5FileHashOfFilepath(file.string());
        while (!hasher.done()) std::this_thread::yield();
        EXPECT_EQ(hasher.hashValue(), kAbcMD5);
    }
}

}  // namespace
