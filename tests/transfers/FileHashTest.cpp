// File digests through the C functions and the hashing classes, on real
// files in a per-test folder. The background tests also run under
// ThreadSanitizer, which checks that the result is published before the flag.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>
#include <tuple>

#include "http/HttpFixture.h"
#include "security/VORKSecurityError.h"
#include "support/Certificates.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/FileHashInBackground.h"
#include "transfers/VORKSecurityFileHash.h"

using vork::DigestType;
using vork::DomainError;
using vork::FileHashInBackground;
using vork::VORKSecurityFileHash;
using vork::test::patternBytes;
using vork::test::TempDir;

namespace {

constexpr const char *kAbcMD5 = "900150983cd24fb0d6963f7d28e17f72";
constexpr const char *kAbcSHA512 =
    "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9a"
    "c94fa54ca49f";

// The digest a coreutils tool (md5sum, sha512sum) prints for a file: an
// independent reference for what the library computes in pieces.
std::string toolDigest(const std::string &tool, const std::string &path) {
    const std::string line = vork::test::commandOutput(tool + " '" + path + "'");
    return line.substr(0, line.find(' '));
}

class FileHashC : public ::testing::Test {
protected:
    void TearDown() override { fileHashRelease(); }
    TempDir dir;
    vork::test::RecordingLog log;
};

TEST_F(FileHashC, DigestsAreLowerCaseHexOrEmptyTextWhenUnreadable) {
    // Not a multiple of the chunk: the last read is short.
    const std::string bytes = patternBytes(3 * VORKSecurityFileHash::kChunkSize + 12345);
    const std::string empty = dir.write("empty", "").string(), abc = dir.write("abc", "abc").string(),
                      big = dir.write("big.bin", bytes).string(), absent = (dir / "absent").string(), folder = dir.str();
    for (auto [path, md5, sha512] : std::vector<std::tuple<const char *, std::string, std::string>>{
             {empty.c_str(), toolDigest("md5sum", empty), toolDigest("sha512sum", empty)},
             {abc.c_str(), kAbcMD5, kAbcSHA512},
             {big.c_str(), toolDigest("md5sum", big), toolDigest("sha512sum", big)},
             {absent.c_str(), "", ""},
             {folder.c_str(), "", ""},
             {nullptr, "", ""},
             {"/tmp/\xff\xfe", "", ""},
         }) {
        SCOPED_TRACE(path ? path : "(null)");
        EXPECT_EQ(fileHashMD5(path), md5);
        EXPECT_EQ(fileHashSHA512(path), sha512);
    }
    EXPECT_TRUE(log.contains("fileHashMD5 filePath=" + abc));
    EXPECT_TRUE(log.contains("fileHashSHA512 filePath=(null)"));
}

TEST(SecurityFileHash, DigestTypeAndLength) {
    TempDir dir;
    const std::string file = dir.write("abc", "abc").string();
    for (auto [type, length, expected] : std::vector<std::tuple<DigestType, int, const char *>>{
             {DigestType::MD5, 0, kAbcMD5},
             {DigestType::SHA2, 0, kAbcSHA512},
             {DigestType::SHA2, 256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"}})
        EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file, type, length), expected) << length;
}

TEST(SecurityFileHash, FailuresAnswerNothingAndDescribeTheErrorAndTheStopFlagEndsWithoutOne) {
    TempDir dir;
    const std::string file = dir.write("abc", "abc").string(), absent = (dir / "absent").string();
    using Hash = std::function<std::optional<std::string>(DomainError *)>;
    const std::string security = VORKSecurityErrorDomain, missing = "Error hashing file. File doesn't exist";
    const std::vector<std::pair<Hash, DomainError>> rows = {
        {[&](DomainError *e) { return VORKSecurityFileHash::md5HashOfFileAtPath(absent, e); }, {security, 4, missing}},
        {[&](DomainError *e) { return VORKSecurityFileHash::sha512HashOfFileAtPath(std::nullopt, e); },
         {security, 4, missing}},
        // A read failure is the system's own error.
        {[&](DomainError *e) { return VORKSecurityFileHash::sha512HashOfFileAtPath(dir.str(), e); },
         {vork::kPosixErrorDomain, EISDIR, std::strerror(EISDIR)}},
        {[&](DomainError *e) { return VORKSecurityFileHash::hashOfFileAtPath(file, DigestType::MD5, 512, e); },
         {security, 4,
          "Error hashing file. Failed to create a digest computation object for the type and length of digest."}},
    };
    for (const auto &[hash, expected] : rows) {
        DomainError error;
        EXPECT_EQ(hash(&error), std::nullopt);
        EXPECT_EQ(error, expected);
        EXPECT_EQ(hash(nullptr), std::nullopt);  // without an error out the answer is the same
    }
    std::atomic<bool> stop{true};
    DomainError error{"untouched", 0, ""};
    EXPECT_EQ(VORKSecurityFileHash::hashOfFileAtPath(file, DigestType::MD5, 0, &error, &stop), std::nullopt);
    EXPECT_EQ(error.domain, "untouched");
}

TEST_F(FileHashC, BackgroundStartsReuseOneHasherAndEachClearsThePreviousResult) {
    EXPECT_EQ(fileHashResult(), nullptr);  // nothing started
    EXPECT_TRUE(log.contains("fileHashIsComplete=(null)"));
    const std::string data = dir.write("data", patternBytes(5 << 20)).string(), empty = dir.write("empty", "").string();
    const std::string md5 = fileHashMD5(data.c_str()), sha = fileHashSHA512(empty.c_str()),
                      absent = (dir / "absent").string();
    fileHashInBackgroundInitialize();
    VORKFileHashInBackground *hasher = g_FileHashInBackground;
    ASSERT_NE(hasher, nullptr);
    for (auto [start, path, expected] : std::vector<std::tuple<void (*)(const char *), const char *, const char *>>{
             {fileHashMD5Start, data.c_str(), md5.c_str()},
             {fileHashSHA512Start, empty.c_str(), sha.c_str()},
             {fileHashMD5Start, absent.c_str(), nullptr},  // nullptr: completes without a result
             {fileHashSHA512Start, nullptr, nullptr},
             {fileHashSHA512Start, "\xff", nullptr}}) {
        SCOPED_TRACE(path ? path : "(null)");
        start(path);
        EXPECT_EQ(g_FileHashInBackground, hasher);
        ASSERT_TRUE(vork::test::pumpUntil([] { return fileHashIsComplete(); }, 60));
        if (expected) { EXPECT_STREQ(fileHashResult(), expected); }
        else { EXPECT_EQ(fileHashResult(), nullptr); }
    }
    EXPECT_TRUE(log.contains("fileHashMD5Start filePath=" + data));
    // A result is logged under the completion label.
    EXPECT_TRUE(log.contains("fileHashIsComplete=" + md5));
    fileHashRelease();
    EXPECT_EQ(g_FileHashInBackground, nullptr);
    EXPECT_FALSE(fileHashIsComplete());
}

TEST_F(FileHashC, OverlappingStartsLeaveOneOfTheirResultsAndReleaseWhileComputingIsSafe) {
    auto file = dir.write("data", patternBytes(16 << 20));
    const std::string md5 = fileHashMD5(file.c_str()), sha = fileHashSHA512(file.c_str());
    for (int i = 0; i < 8; ++i) (i % 2 ? fileHashMD5Start : fileHashSHA512Start)(file.c_str());
    ASSERT_TRUE(vork::test::pumpUntil([] { return fileHashIsComplete(); }, 60));
    const char *result = fileHashResult();
    ASSERT_NE(result, nullptr);
    EXPECT_TRUE(result == md5 || result == sha) << result;
    fileHashSHA512Start(file.c_str());
    fileHashMD5Start(file.c_str());
    fileHashRelease();
    EXPECT_FALSE(fileHashIsComplete());
}

TEST(FileHashInBackgroundClass, ResultIsVisibleOnceDoneIsSeenOnFreshAndReusedHashers) {
    TempDir dir;
    const std::string big = dir.write("data", patternBytes(1 << 20)).string(), abc = dir.write("abc", "abc").string();
    const std::string expected = toolDigest("sha512sum", big);
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

}  // namespace
