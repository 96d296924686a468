// The version tool's output, the running system kept once, the os-release
// stand-in and installation version files.
#include <gtest/gtest.h>

#include "VORKCoreCommC/sysinfo/OSXInstallerInfo.h"
#include "VORKCoreCommC/sysinfo/VORKSystemInformation.h"
#include "VORKCoreCommC/system.h"
#include "platform/SystemInformationSource.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

const std::string kFixtures = std::string(VORK_SOURCE_DIR) + "/tests/sysinfo/fixtures/";

std::string fixture(const std::string &name) { return readFile(kFixtures + name); }

TEST(SystemInformation, ReadsTheThreeFieldsOfRealisticOutputs) {
    struct Case { const char *file, *product, *version, *build, *normalised; };
    VORKSystemInformation info = VORKSystemInformation::systemInformation();
    for (const Case &c : std::initializer_list<Case>{
             {"10.6.8-server.txt", "Mac OS X Server", "10.6.8", "10K549", "10.6.8"},
             {"11.7.10-crlf.txt", "macOS", "11.7.10", "20G1427", "11.7.10"},
             {"14.0-beta.txt", "macOS", "14.0", "23A5257q", "14.0.0"}}) {
        const std::string output = fixture(std::string("sw_vers/") + c.file);
        SCOPED_TRACE(c.file);
        EXPECT_EQ(info.getProductNameFromString(output), c.product);
        EXPECT_EQ(info.getVersionStringFromString(output), c.version);
        EXPECT_EQ(info.getBuildVersionFromString(output), c.build);
        EXPECT_EQ(VORKOperatingSystem(c.version).versionString(), c.normalised);
    }
    // First matching line wins, a value is cut at its colon, blanks and line ends go.
    const std::string odd = "  ProductVersionExtra: (a)\nProductVersion:\t14.1\n\tBuildVersion : 23B:74 \r";
    EXPECT_EQ(info.getVersionStringFromString(odd), "(a)");
    EXPECT_EQ(info.getBuildVersionFromString(odd), "23B");
}

TEST(SystemInformation, MissingFieldsRaiseByName) {
    using Get = std::string (VORKSystemInformation::*)(const std::string &);
    struct Case { const char *output; Get get; const char *name, *reason; };
    for (const Case &c : std::initializer_list<Case>{
             {"ProductName:\tmacOS\nProductVersion:\t14.0\n", &VORKSystemInformation::getBuildVersionFromString,
              "Build Version Not Found", "Operating System Build version was not found"},
             {"Product Name: macOS", &VORKSystemInformation::getProductNameFromString, "Product Name Not Found",
              "Operating System Product Name was not found"}}) {
        VORKSystemInformation info;
        try {
            (info.*c.get)(c.output);
            ADD_FAILURE() << c.name;
        } catch (const OperatingSystemVersionNotFound &e) {
            EXPECT_EQ(std::make_pair(e.name(), e.reason()), std::make_pair(std::string(c.name), std::string(c.reason)));
        }
    }
}

// A platform whose tool output, console user and property lists the test sets.
struct FakeSource : platform::SystemInformationSource {
    std::string versionToolOutput() override { return ++toolRuns, output; }
    std::string consoleUserName() override { return user; }
    std::optional<platform::StringDictionary> readPropertyList(const std::string &) override { return std::nullopt; }
    std::string output, user;
    int toolRuns = 0;
};

TEST(SystemInformation, CurrentSystemIsReadOnceAndFailuresAreNotKept) {
    auto fake = std::make_shared<FakeSource>();
    auto guard = platform::systemInformationSource().install(fake);
    VORKSystemInformation::resetStaticVariables();
    fake->output = fixture("sw_vers/10.6.8-server.txt");
    fake->output.erase(fake->output.find("BuildVersion"));
    EXPECT_THROW(VORKSystemInformation().currentOperatingSystem(), OperatingSystemVersionNotFound);
    fake->output = fixture("sw_vers/14.0-beta.txt");
    auto first = VORKSystemInformation().currentOperatingSystem();
    EXPECT_EQ(first->versionString() + first->productName() + first->buildVersion(), "14.0.0macOS23A5257q");
    fake->output = fixture("sw_vers/10.11.6.txt");
    EXPECT_EQ(VORKSystemInformation().currentOperatingSystem(), first);
    EXPECT_EQ(fake->toolRuns, 2);
    VORKSystemInformation::resetStaticVariables();
    EXPECT_EQ(VORKSystemInformation().currentOperatingSystem()->versionString(), "10.11.6");
    fake->user = "alice";
    EXPECT_EQ(VORKSystemInformation().currentlyLoggedInUsername(), "alice");
    VORKSystemInformation::resetStaticVariables();
}

TEST(SystemInformation, VersionToolAtItsFixedPathElseOsRelease) {
    SystemRootSandbox sandbox;
    VORKSystemInformation info;
    EXPECT_EQ(info.sw_versOutput(), "");
    struct Case { const char *file, *product, *version, *build; };
    for (const Case &c : std::initializer_list<Case>{{"debian-12", "Debian GNU/Linux", "12", "bookworm"},
                                                    {"fedora-39-server", "Fedora Linux", "39", nullptr},
                                                    {"quoted", "Vendor \"Edge\" OS", "3.1.4.1", "2024$a"}}) {
        SCOPED_TRACE(c.file);
        std::filesystem::remove_all(sandbox.at("/etc"));
        sandbox.root().write("usr/lib/os-release", fixture(std::string("os-release/") + c.file));
        const std::string output = info.sw_versOutput();
        EXPECT_EQ(info.getProductNameFromString(output), c.product);
        if (c.version) EXPECT_EQ(info.getVersionStringFromString(output), c.version);
        else EXPECT_THROW(info.getVersionStringFromString(output), OperatingSystemVersionNotFound);
        if (c.build) EXPECT_EQ(info.getBuildVersionFromString(output), c.build);
        else EXPECT_THROW(info.getBuildVersionFromString(output), OperatingSystemVersionNotFound);
        // /etc/os-release comes first.
        sandbox.root().write("etc/os-release", "NAME=Etc\nVERSION_ID=1\n");
        EXPECT_EQ(info.getProductNameFromString(info.sw_versOutput()), "Etc");
    }
    // A version tool at its fixed path is run (a real process) and wins.
    sandbox.root().writeExecutable("usr/bin/sw_vers", "#!/bin/sh\nprintf 'ProductName:\\tTool\\n'\n");
    EXPECT_EQ(info.sw_versOutput(), "ProductName:\tTool\n");
}

TEST(OSXInstallerInfo, VersionFileOfAnInstallation) {
    TempDir volume;
    struct Case { const char *fixture; const char *version; };
    for (const Case &c : std::initializer_list<Case>{{"10.13.6.plist", "10.13.6"},
                                                    {nullptr, ""},  // no file
                                                    {"truncated.plist", ""},
                                                    {"no-version.plist", nullptr}}) {
        SCOPED_TRACE(c.fixture ? c.fixture : "missing");
        std::filesystem::remove_all(volume / "System");
        if (c.fixture)
            volume.write("System/Library/CoreServices/SystemVersion.plist",
                         fixture(std::string("SystemVersion/") + c.fixture));
        if (c.version) EXPECT_EQ(OSXInstallerInfo::getOsxInstallVersion(volume.str()), c.version);
        else EXPECT_THROW(OSXInstallerInfo::getOsxInstallVersion(volume.str()), std::runtime_error);
        EXPECT_STREQ(getOSXInstallVersion(volume.str().c_str()), c.version ? c.version : "");
    }
}

}  // namespace
}  // namespace vork::test
