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
#include <type_traits>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <variant>

#include "support/FakeTransport.h"
#include "support/TempDir.h"
#include "util/Utf8.h"

namespace {

// One bad input, offered in every argument slot of a function; documentedAbsent
// marks the documented absent-text case (null or not UTF-8).
struct In { const char *text; int number; double real; bool documentedAbsent; };

using Text = std::optional<std::string>;
using Out = std::variant<std::monostate, long long, double, Text>;

Out text(const char *result) { return result ? Text(result) : Text(); }

bool isText(const Out &out) { return std::holds_alternative<Text>(out); }
bool nonNullText(const Out &out) { return isText(out) && std::get<Text>(out).has_value(); }
bool textIs(const Out &out, const char *expected) { return nonNullText(out) && *std::get<Text>(out) == expected; }
bool nonEmptyText(const Out &out) { return nonNullText(out) && !textIs(out, ""); }
bool emptyText(const Out &out) { return textIs(out, ""); }
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
bool isTrue(const Out &out) { return numberIs(out, 1); }
// A count: -1 before its subsystem is set up, otherwise nothing found.
bool noneOrEmpty(const Out &out) { return numberIs(out, -1) || numberIs(out, 0); }
// A server call's answer: a status-1999 reply message, also here where the
// machine's UUID cannot be read.
bool failureReply(const Out &out) { return nonNullText(out) && std::get<Text>(out)->find("1999") != std::string::npos; }

// The bad input in the shape of one parameter: text, a number, a real, or a
// null object.
template <class A>
A argument(const In &in) {
    if constexpr (std::is_same_v<A, const char *>) return in.text;
    else if constexpr (std::is_floating_point_v<A>) return in.real;
    else if constexpr (std::is_integral_v<A>) return static_cast<A>(in.number);
    else if constexpr (std::is_pointer_v<A>) return nullptr;
    else return charPtrToNSString(in.text);  // the C++ text type
}

// Calls the function with the bad input in every parameter; its result as an Out.
template <class R, class... A>
std::function<Out(const In &)> call(R (*function)(A...)) {
    return [function](const In &in) -> Out {
        if constexpr (std::is_void_v<R>) return function(argument<std::decay_t<A>>(in)...), Out();
        else if constexpr (std::is_same_v<R, const char *>) return text(function(argument<std::decay_t<A>>(in)...));
        else if constexpr (std::is_integral_v<R>) return (long long)function(argument<std::decay_t<A>>(in)...);
        else return Out(function(argument<std::decay_t<A>>(in)...));
    };
}

using Call = std::function<Out(const In &)>;
using Check = std::function<bool(const Out &)>;
#define CALL(function) {#function, call(function)}

struct Row {
    Call call;
    // The result for absent text (null, non-UTF-8); every other bad input
    // must give a result of the same kind, valid UTF-8 when text.
    Check neutral;
};

// The functions grouped by their neutral result.
std::map<std::string, Row> makeRows() {
    const std::vector<std::pair<Check, std::vector<std::pair<std::string, Call>>>> groups = {
        {anything,
         {CALL(VORKReleaseScopePush), CALL(VORKReleaseScopePop), CALL(VORKReleaseScopeHeldCount), CALL(processRunLoop),
          CALL(fileCopyIsComplete), CALL(fileCopyRelease), CALL(fileHashMD5Start), CALL(fileHashSHA512Start),
          CALL(fileHashIsComplete), CALL(fileHashResult), CALL(fileHashRelease), CALL(fileHashInBackgroundInitialize),
          CALL(httpTransferInitDownload), CALL(httpTransferInit), CALL(httpTransferStatus), CALL(httpTransferCancel),
          CALL(httpTransferIsComplete), CALL(httpTransferResult), CALL(httpTransferRelease), CALL(setZelUrl),
          CALL(setZelUsername), CALL(setZelPassword), CALL(setAllowInvalidCertificate), CALL(verifyZelInterface),
          CALL(vorkRefRelease), CALL(partitionInit), CALL(coreStorageInfoInit), CALL(coreStorageInfoTerm),
          CALL(loadCoreStorageInfo), CALL(volumeInfoType), CALL(volumeInfoSize), CALL(setGlobalVolumeInfo)}},
        {nonNullText,
         {CALL(VORKCoreCommCVersion), CALL(currentIpAddress), CALL(fileHashMD5), CALL(fileHashSHA512),
          CALL(httpSubmitRequest), CALL(httpTransferStart), CALL(httpTransferError), CALL(getUdid), CALL(volumeInfoName),
          CALL(volumeInfoVolumeId), CALL(volumeInfoDiskId), CALL(volumeInfoStatus)}},
        {isNull, {CALL(charPtrToNSString), CALL(NSStringToCharPtr), CALL(zelURLFromUserInput), CALL(removeInvalidXmlData)}},
        {nonEmptyText, {CALL(fileCopyStart)}},
        // The partitioning functions run before partitionInit: no object yet.
        {emptyText,
         {CALL(getOSXInstallVersion), CALL(getPartitionMountPointByDiskId), CALL(getPartitionMountPointByName),
          CALL(getPartitionDiskId)}},
        {percent, {CALL(fileCopyProgress), CALL(httpTransferProgress)}},
        {[](const Out &o) { return std::get<long long>(o) >= -1; }, {CALL(httpResponseCode)}},
        // The sandbox has no disk tools, so nothing is found.
        {isFalse,
         {CALL(ipAddressInRange), CALL(httpTransferAddHeader), CALL(addPartition), CALL(partitionDisk),
          CALL(hasCoreStorage), CALL(isFusionDrive), CALL(retrieveVolumeForDiskId), CALL(retrieveLogicalVolumeGroupForDiskId),
          CALL(retrievePhysicalVolume), CALL(retrieveUnmountedEncryptedPhysicalVolume), CALL(dmgHasMultiplePartitions)}},
        {noneOrEmpty, {CALL(physicalVolumeQty), CALL(unmountedEncryptedVolumeQty)}},
        {failureReply,
         {CALL(keepAlive), CALL(computerInventoryPrefs), CALL(clientSitePrivileges), CALL(clientSiteSelection),
          CALL(adminSave), CALL(adminAddObject), CALL(getPrinterInfo), CALL(retrieveScriptData)}},
        // Free space that cannot be read counts as room (kept on purpose).
        {isTrue,
         {CALL(hasEnoughSpaceForFileInDestination),
          {"httpTransferRetrySettings",
           [](const In &in) {
               httpTransferRetrySettings(in.number, in.real, in.real);
               return Out(std::isfinite(g_RetryDelayMinSeconds) && std::isfinite(g_RetryDelayMaxSeconds) ? 1.0 : 0.0);
           }},
          // NULL trusts the calling program; every other bad path answers NULL.
          {"vorkRef",
           [](const In &in) {
               VORKAccess *access = vorkRef(in.text);
               const bool made = access != nullptr;
               vorkRefRelease(access);
               return Out((long long)(made == (in.text == nullptr)));
           }}}},
        // NULL pointers are refused, not moved.
        {[](const Out &o) { return std::get<long long>(o) != 2; },
         {{"adjustWindowCoordinates", [](const In &in) {
               int32_t x = in.number, y = in.number, width = in.number, height = in.number;
               const bool nullMoved = adjustWindowCoordinates(nullptr, &y, nullptr, &height);
               return Out((long long)(nullMoved ? 2 : adjustWindowCoordinates(&x, &y, &width, &height)));
           }}}},
    };
    std::map<std::string, Row> table;
    for (const auto &[neutral, calls] : groups)
        for (const auto &[name, function] : calls) EXPECT_TRUE(table.emplace(name, Row{function, neutral}).second) << name;
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
    const auto rows = makeRows();
    ASSERT_GT(names.size(), 40u);
    for (const std::string &name : names) {
        auto row = rows.find(name);
        ASSERT_NE(row, rows.end()) << name << " has no row in the table of argument shapes";
        for (size_t i = 0; i < inputs.size(); ++i) {
            SCOPED_TRACE(name + " input " + std::to_string(i));
            const Out out = row->second.call(inputs[i]);
            if (inputs[i].documentedAbsent) {
                EXPECT_TRUE(row->second.neutral(out)) << testing::PrintToString(out);
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
