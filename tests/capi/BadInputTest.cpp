// Every exported function, found in the public headers, called with bad
// input (null, non-UTF-8, empty and 10 MB text, negative and huge numbers)
// and out of order: each answers its neutral result, and nothing is
// written outside the sandbox. A function added to a header without a row
// here fails the test.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <variant>

#include "support/FakeTransport.h"
#include "support/TempDir.h"
#include "util/Utf8.h"

namespace {

// One bad input, offered in every argument slot of a function.
struct In {
    const char *text;
    int number;
    double real;
    bool documentedAbsent;  // null or not UTF-8: the documented absent-text case
};

using Text = std::optional<std::string>;
using Out = std::variant<std::monostate, long long, double, Text>;

Out text(const char *result) { return result ? Text(result) : Text(); }

bool isText(const Out &out) { return std::holds_alternative<Text>(out); }
bool nonNullText(const Out &out) { return isText(out) && std::get<Text>(out).has_value(); }
bool textIs(const Out &out, const char *expected) { return nonNullText(out) && *std::get<Text>(out) == expected; }
bool isNull(const Out &out) { return isText(out) && !std::get<Text>(out); }
bool numberIs(const Out &out, double expected) {
    if (auto *i = std::get_if<long long>(&out)) return *i == expected;
    if (auto *d = std::get_if<double>(&out)) return *d == expected;
    return false;
}
bool percent(const Out &out) {
    auto *d = std::get_if<double>(&out);
    return d && *d >= -1.0 && *d <= 100.0;
}
bool anything(const Out &) { return true; }
bool isFalse(const Out &out) { return numberIs(out, 0); }
// A count: -1 before its subsystem is set up, otherwise nothing found.
bool noneOrEmpty(const Out &out) { return numberIs(out, -1) || numberIs(out, 0); }
// A server call's answer: a status-1999 reply message, also here where the
// machine's UUID cannot be read.
bool failureReply(const Out &out) { return nonNullText(out) && std::get<Text>(out)->find("1999") != std::string::npos; }

std::string shown(const Out &out) {
    if (auto *t = std::get_if<Text>(&out)) return *t ? "\"" + t->value().substr(0, 300) + "\"" : "NULL";
    if (auto *i = std::get_if<long long>(&out)) return std::to_string(*i);
    if (auto *d = std::get_if<double>(&out)) return std::to_string(*d);
    return "nothing";
}

struct Row {
    std::function<Out(const In &)> call;
    // The result for absent text (null, non-UTF-8); every other bad input
    // must give a result of the same kind, valid UTF-8 when text.
    std::function<bool(const Out &)> neutral;
};

const std::map<std::string, Row> &rows() {
    auto none = [](auto f) { return [f](const In &) { f(); return Out(); }; };
    static const std::map<std::string, Row> table = {
        {"VORKReleaseScopePush", {none(VORKReleaseScopePush), anything}},
        {"VORKReleaseScopePop", {none(VORKReleaseScopePop), anything}},
        {"VORKReleaseScopeHeldCount", {[](const In &) { return Out((long long)VORKReleaseScopeHeldCount()); }, anything}},
        {"processRunLoop", {none(processRunLoop), anything}},
        {"VORKCoreCommCVersion", {[](const In &) { return text(VORKCoreCommCVersion()); }, nonNullText}},
        {"currentIpAddress", {[](const In &) { return text(currentIpAddress()); }, nonNullText}},
        {"ipAddressInRange", {[](const In &in) { return Out((long long)ipAddressInRange(in.text, in.text, in.text)); },
                              [](const Out &o) { return numberIs(o, 0); }}},
        {"charPtrToNSString", {[](const In &in) { return Out(charPtrToNSString(in.text)); }, isNull}},
        {"NSStringToCharPtr", {[](const In &in) { return text(NSStringToCharPtr(charPtrToNSString(in.text))); }, isNull}},
        {"hasEnoughSpaceForFileInDestination",
         // Free space that cannot be read counts as room (kept on purpose).
         {[](const In &in) { return Out((long long)hasEnoughSpaceForFileInDestination(in.text, in.text)); },
          [](const Out &o) { return numberIs(o, 1); }}},
        {"fileCopyStart", {[](const In &in) { return text(fileCopyStart(in.text, in.text)); },
                           [](const Out &o) { return nonNullText(o) && !textIs(o, ""); }}},
        {"fileCopyProgress", {[](const In &) { return Out(fileCopyProgress()); }, percent}},
        {"fileCopyIsComplete", {[](const In &) { return Out((long long)fileCopyIsComplete()); }, anything}},
        {"fileCopyRelease", {none(fileCopyRelease), anything}},
        {"fileHashMD5", {[](const In &in) { return text(fileHashMD5(in.text)); }, nonNullText}},
        {"fileHashSHA512", {[](const In &in) { return text(fileHashSHA512(in.text)); }, nonNullText}},
        {"fileHashMD5Start", {[](const In &in) { fileHashMD5Start(in.text); return Out(); }, anything}},
        {"fileHashSHA512Start", {[](const In &in) { fileHashSHA512Start(in.text); return Out(); }, anything}},
        {"fileHashIsComplete", {[](const In &) { return Out((long long)fileHashIsComplete()); }, anything}},
        {"fileHashResult", {[](const In &) { return text(fileHashResult()); }, anything}},
        {"fileHashRelease", {none(fileHashRelease), anything}},
        {"fileHashInBackgroundInitialize", {none(fileHashInBackgroundInitialize), anything}},
        {"httpTransferRetrySettings",
         {[](const In &in) {
              httpTransferRetrySettings(in.number, in.real, in.real);
              return Out(std::isfinite(g_RetryDelayMinSeconds) && std::isfinite(g_RetryDelayMaxSeconds) ? 1.0 : 0.0);
          },
          [](const Out &o) { return numberIs(o, 1.0); }}},
        {"httpTransferInitDownload",
         {[](const In &in) {
              httpTransferInitDownload(in.text, true, in.text, in.text, in.text, in.text, in.text);
              return Out();
          },
          anything}},
        {"httpTransferInit",
         {[](const In &in) { httpTransferInit(in.text, false, in.text, in.text, in.text, in.text); return Out(); },
          anything}},
        {"httpTransferAddHeader", {[](const In &in) { return Out((long long)httpTransferAddHeader(in.text, in.text)); },
                                   [](const Out &o) { return numberIs(o, 0); }}},
        {"httpSubmitRequest", {[](const In &) { return text(httpSubmitRequest()); }, nonNullText}},
        {"httpTransferStart", {[](const In &) { return text(httpTransferStart()); }, nonNullText}},
        {"httpTransferProgress", {[](const In &) { return Out(httpTransferProgress()); }, percent}},
        {"httpTransferStatus", {[](const In &) { return text(httpTransferStatus()); }, anything}},
        {"httpTransferCancel", {[](const In &) { return Out((long long)httpTransferCancel()); }, anything}},
        {"httpTransferIsComplete", {[](const In &) { return Out((long long)httpTransferIsComplete()); }, anything}},
        {"httpResponseCode", {[](const In &) { return Out((long long)httpResponseCode()); },
                              [](const Out &o) { return std::get<long long>(o) >= -1; }}},
        {"httpTransferResult", {[](const In &) { return text(httpTransferResult()); }, anything}},
        {"httpTransferError", {[](const In &) { return text(httpTransferError()); }, nonNullText}},
        {"httpTransferRelease", {none(httpTransferRelease), anything}},
        {"setZelUrl", {[](const In &in) { setZelUrl(in.text); return Out(); }, anything}},
        {"setZelUsername", {[](const In &in) { setZelUsername(in.text); return Out(); }, anything}},
        {"setZelPassword", {[](const In &in) { setZelPassword(in.text); return Out(); }, anything}},
        {"setAllowInvalidCertificate", {[](const In &in) { setAllowInvalidCertificate(in.number); return Out(); }, anything}},
        {"verifyZelInterface", {none(verifyZelInterface), anything}},
        {"getUdid", {[](const In &) { return text(getUdid()); }, nonNullText}},
        {"zelURLFromUserInput", {[](const In &in) { return text(zelURLFromUserInput(in.text)); }, isNull}},
        {"removeInvalidXmlData", {[](const In &in) { return text(removeInvalidXmlData(in.text)); }, isNull}},
        {"keepAlive", {[](const In &in) { return text(keepAlive(in.number)); }, failureReply}},
        {"computerInventoryPrefs", {[](const In &) { return text(computerInventoryPrefs()); }, failureReply}},
        {"clientSitePrivileges", {[](const In &in) { return text(clientSitePrivileges(in.text)); }, failureReply}},
        {"clientSiteSelection", {[](const In &in) { return text(clientSiteSelection(in.number)); }, failureReply}},
        {"adminSave", {[](const In &in) { return text(adminSave(in.text)); }, failureReply}},
        {"adminAddObject", {[](const In &) { return text(adminAddObject()); }, failureReply}},
        {"getPrinterInfo", {[](const In &in) { return text(getPrinterInfo(in.number)); }, failureReply}},
        {"retrieveScriptData", {[](const In &in) { return text(retrieveScriptData(in.number)); }, failureReply}},
        // NULL trusts the calling program; every other bad path answers NULL.
        {"vorkRef", {[](const In &in) {
                         VORKAccess *access = vorkRef(in.text);
                         const bool made = access != nullptr;
                         vorkRefRelease(access);
                         return Out((long long)(made == (in.text == nullptr)));
                     },
                     [](const Out &o) { return numberIs(o, 1); }}},
        {"vorkRefRelease", {[](const In &) { vorkRefRelease(nullptr); return Out(); }, anything}},
        // Disks: the sandbox has no disk tools, so nothing is found.
        {"partitionInit", {none(partitionInit), anything}},
        {"addPartition", {[](const In &in) { return Out((long long)addPartition(in.text, in.text, in.number)); }, anything}},
        {"partitionDisk", {[](const In &in) { return Out((long long)partitionDisk(in.text)); }, isFalse}},
        {"getPartitionMountPointByDiskId", {[](const In &in) { return text(getPartitionMountPointByDiskId(in.text)); }, nonNullText}},
        {"getPartitionMountPointByName", {[](const In &in) { return text(getPartitionMountPointByName(in.text)); }, nonNullText}},
        {"getPartitionDiskId", {[](const In &in) { return text(getPartitionDiskId(in.text)); }, nonNullText}},
        {"coreStorageInfoInit", {none(coreStorageInfoInit), anything}},
        {"coreStorageInfoTerm", {none(coreStorageInfoTerm), anything}},
        {"loadCoreStorageInfo", {[](const In &) { return Out((long long)loadCoreStorageInfo()); }, anything}},
        {"hasCoreStorage", {[](const In &) { return Out((long long)hasCoreStorage()); }, isFalse}},
        {"isFusionDrive", {[](const In &in) { return Out((long long)isFusionDrive(in.text)); }, isFalse}},
        {"retrieveVolumeForDiskId", {[](const In &in) { return Out((long long)retrieveVolumeForDiskId(in.text)); }, isFalse}},
        {"retrieveLogicalVolumeGroupForDiskId",
         {[](const In &in) { return Out((long long)retrieveLogicalVolumeGroupForDiskId(in.text)); }, isFalse}},
        {"physicalVolumeQty", {[](const In &) { return Out((long long)physicalVolumeQty()); }, noneOrEmpty}},
        {"retrievePhysicalVolume", {[](const In &in) { return Out((long long)retrievePhysicalVolume(in.number)); }, isFalse}},
        {"unmountedEncryptedVolumeQty", {[](const In &) { return Out((long long)unmountedEncryptedVolumeQty()); }, noneOrEmpty}},
        {"retrieveUnmountedEncryptedPhysicalVolume",
         {[](const In &in) { return Out((long long)retrieveUnmountedEncryptedPhysicalVolume(in.number)); }, isFalse}},
        {"volumeInfoName", {[](const In &) { return text(volumeInfoName()); }, nonNullText}},
        {"volumeInfoVolumeId", {[](const In &) { return text(volumeInfoVolumeId()); }, nonNullText}},
        {"volumeInfoDiskId", {[](const In &) { return text(volumeInfoDiskId()); }, nonNullText}},
        {"volumeInfoStatus", {[](const In &) { return text(volumeInfoStatus()); }, nonNullText}},
        {"volumeInfoType", {[](const In &) { return Out((long long)volumeInfoType()); }, anything}},
        {"volumeInfoSize", {[](const In &) { return Out((long long)volumeInfoSize()); }, anything}},
        {"setGlobalVolumeInfo", {[](const In &) { setGlobalVolumeInfo(nullptr); return Out(); }, anything}},
        {"dmgHasMultiplePartitions", {[](const In &in) { return Out((long long)dmgHasMultiplePartitions(in.text)); }, isFalse}},
        // System information.
        {"getOSXInstallVersion", {[](const In &in) { return text(getOSXInstallVersion(in.text)); },
                                  [](const Out &o) { return textIs(o, ""); }}},
        {"adjustWindowCoordinates",
         {[](const In &in) {
              int32_t x = in.number, y = in.number, width = in.number, height = in.number;
              const bool nullMoved = adjustWindowCoordinates(nullptr, &y, nullptr, &height);
              return Out((long long)(nullMoved ? 2 : adjustWindowCoordinates(&x, &y, &width, &height)));
          },
          [](const Out &o) { return std::get<long long>(o) != 2; }}},
    };
    return table;
}

// Every function the public headers export.
std::set<std::string> exportedFunctions() {
    std::set<std::string> names;
    const std::regex declaration(R"(^VORK_API(_CXX)?\s[^(;]*?\b(\w+)\s*\()");
    for (const auto &entry : std::filesystem::directory_iterator(VORK_SOURCE_DIR "/include/VORKCoreCommC")) {
        std::ifstream header(entry.path());
        for (std::string line; std::getline(header, line);) {
            std::smatch match;
            if (std::regex_search(line, match, declaration)) names.insert(match[2]);
        }
    }
    return names;
}

class BadInput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::chdir(cwd.str().c_str()), 0);
        setZelUrl("http://zel.test/");
    }
    void TearDown() override {
        httpTransferRelease();
        fileCopyRelease();
        fileHashRelease();
        httpTransferRetrySettings(0, 5.0, 120.0);
        ::chdir(VORK_BINARY_DIR);
    }
    vork::test::SystemRootSandbox root;
    vork::test::TempDir cwd;
    // No request leaves the process: every exchange fails at once.
    vork::test::FakeTransport::Installed transport = vork::test::FakeTransport::install([](auto &) {
        return vork::test::FakeExchange{0, "", vork::URLError::urlError(vork::kURLErrorCannotConnectToHost, "", "")};
    });
};

TEST_F(BadInput, EveryExportedFunctionAnswersItsNeutralResult) {
    const std::string huge(10u << 20, 'a');
    const std::vector<In> inputs = {{nullptr, -1, -1.0, true},
                                    {"\xff\xfe\xc0", INT_MIN, std::nan(""), true},
                                    {"", 0, -std::numeric_limits<double>::infinity(), false},
                                    {huge.c_str(), INT_MAX, 1e308, false}};
    const auto names = exportedFunctions();
    ASSERT_GT(names.size(), 40u);
    for (const std::string &name : names) {
        auto row = rows().find(name);
        ASSERT_NE(row, rows().end()) << name << " has no row in the table of argument shapes";
        for (size_t i = 0; i < inputs.size(); ++i) {
            SCOPED_TRACE(name + " input " + std::to_string(i));
            const Out out = row->second.call(inputs[i]);
            if (inputs[i].documentedAbsent) {
                EXPECT_TRUE(row->second.neutral(out)) << shown(out);
            }
            if (nonNullText(out)) {
                EXPECT_TRUE(vork::util::isValidUtf8(*std::get<Text>(out)));
            }
        }
    }
    EXPECT_TRUE(std::filesystem::is_empty(cwd.path()));
}

TEST_F(BadInput, CallsOutOfOrderAnswerTheNoObjectResults) {
    for (int round = 0; round < 2; ++round) {
        // Released twice, then polled and read before any start.
        for (int i = 0; i < 2; ++i) httpTransferRelease(), fileCopyRelease(), fileHashRelease();
        EXPECT_DOUBLE_EQ(httpTransferProgress(), -1.0);
        EXPECT_TRUE(httpTransferIsComplete());
        EXPECT_FALSE(httpTransferCancel());
        EXPECT_EQ(httpResponseCode(), -1);
        EXPECT_STREQ(httpSubmitRequest(), "");
        EXPECT_DOUBLE_EQ(fileCopyProgress(), -1.0);
        EXPECT_EQ(fileHashResult(), nullptr);
        // Started twice, then polled to the end.
        for (int i = 0; i < 2; ++i) {
            httpTransferInit("http://zel.test/x", false, nullptr, nullptr, "<a/>", nullptr);
            EXPECT_STREQ(httpTransferStart(), "");
            EXPECT_STREQ(httpTransferStart(), "");
            fileHashMD5Start("/missing");
        }
        while (!httpTransferIsComplete()) {
        }
        EXPECT_STRNE(httpTransferError(), "");
    }
}

}  // namespace
