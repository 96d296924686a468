// vorkcomm's disk, system-information and security commands as an operator
// runs them, for people and with --json: stand-in disk and version tools in a
// temporary system root, keychains and certificates made on the spot, and
// passwords given on standard input only.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "cli/ToolRun.h"
#include "disks/StandInTool.h"
#include "support/Certificates.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

// In the arguments {dir} and {cert} are replaced; the input is a file of
// {dir} read as standard input, or null for none.
struct Case { std::vector<std::string> arguments; const char *input; int exitCode; std::vector<std::string> outHas; };

TEST(VorkcommOperatorCommands, ReportDisksSystemAndKeychainsForPeopleAndScripts) {
    SystemRootSandbox sandbox;
    ::setenv("VORKCOMMC_ROOT", sandbox.root().str().c_str(), 1);
    StandInTool diskutil(sandbox, "/usr/sbin/diskutil"), hdiutil(sandbox, "/usr/bin/hdiutil");
    StandInTool(sandbox, "/usr/bin/sw_vers").answer({}, "ProductName:\tmacOS\nProductVersion:\t13.4.1\nBuildVersion:\t22F82\n");
    const std::vector<std::string> list = {"list", "-plist"};
    const std::string after = fixture("list-single-disk-after.plist");
    for (int run = 0; run < 2; ++run) diskutil.answer(list, fixture("list-single-disk.plist")).answer(list, after);
    diskutil.answer({"partitionDisk", "disk0", "3", "jhfs+", "Macintosh HD", "349418M", "jhfs+", "Work", "100000M", "MS-DOS",
                     "DATA", "50000M"}, "Finished partitioning on disk0\n", 2);
    diskutil.answer({"cs", "list"}, "", 2).answer({"cs", "list"}, fixture("cs-fusion.txt"));
    hdiutil.answer({"attach", "/images/Tools.dmg", "-plist"}, fixture("attach-apm.plist"));
    TempDir dir;
    dir.write("pw", "s3cret-pw\n");
    dir.write("wrong", "not-it\n");
    dir.write("vol/System/Library/CoreServices/SystemVersion.plist",
              "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>12.6</string></dict></plist>");
    const std::string cert = makeSelfSignedCertificate(dir.str()).certificatePath;
    const std::vector<std::string> partition = {"partition", "disk0s2", "data", "NTFS", "50000", "Work", "Apple_HFS", "100000"};
    auto with = [](std::vector<std::string> a, std::vector<std::string> more) {
        a.insert(a.end(), more.begin(), more.end());
        return a;
    };
    const std::vector<Case> cases = {
        {partition, nullptr, 2, {}},  // no --yes
        {with(partition, {"--yes"}), nullptr, 0, {"disk0s3  \"Work\"  /Volumes/Work"}},
        {with(partition, {"--yes", "--json"}), nullptr, 0, {R"({"name": "Work", "diskId": "disk0s3", "mountPoint": "/Volumes/Work"})"}},
        {{"corestorage", "disk2"}, nullptr, 0, {"Fusion drive: yes", "disk1s2  physical volume"}},
        {{"corestorage", "disk2", "--json"}, nullptr, 0, {R"("fusionDrive": true)", R"("diskId": "disk0s2", "type": "physical volume")"}},
        {{"corestorage", "disk9"}, nullptr, 1, {}},
        {{"dmg-partitions", "/images/Tools.dmg", "--json"}, nullptr, 0, {R"("multiplePartitions": true)"}},
        {{"system-info"}, nullptr, 0, {"macOS 13.4.1 (22F82)"}},
        {{"system-info", "--json"}, nullptr, 0, {R"("productName": "macOS", "version": "13.4.1", "build": "22F82")"}},
        {{"os-install-version", "{dir}/vol"}, nullptr, 0, {"12.6"}},
        {{"os-install-version", "{dir}/none", "--json"}, nullptr, 1, {R"("version": null)"}},
        {{"window-adjust", "-5000", "-5000", "640", "480", "--json"}, nullptr, 0, {R"("moved": true)"}},
        {{"window-adjust", "1", "2"}, nullptr, 2, {}},
        {{"keychain-create", "{dir}/k.keychain"}, "pw", 0, {"created"}},
        {{"keychain-create", "{dir}/k.keychain", "--json"}, "pw", 1, {R"("error": ")"}},
        {{"keychain-unlock", "{dir}/k.keychain", "--json"}, "wrong", 1, {R"("unlocked": false)"}},
        {{"keychain-unlock", "{dir}/k.keychain"}, "pw", 0, {"unlocks"}},
        {{"cert-show", "{cert}", "--json"}, nullptr, 0, {R"("commonName": "127.0.0.1")", R"("deviceCertificate": false)"}},
        {{"cert-import", "{dir}/k.keychain", "{cert}"}, "wrong", 1, {}},
        {{"cert-import", "{dir}/k.keychain", "{cert}"}, "pw", 0, {"imported 127.0.0.1"}},
        {{"keychain-list", "{dir}/k.keychain"}, nullptr, 0, {"certificates (1):\n  127.0.0.1", "identities (0)"}},
        {{"keychain-list", "{dir}/k.keychain", "--json"}, nullptr, 0, {R"("certificates": [{"commonName": "127.0.0.1")"}},
    };
    const std::map<std::string, std::string> values = {{"{dir}", dir.str()}, {"{cert}", cert}};
    for (const Case &c : cases) {
        const std::vector<std::string> arguments = withPlaceholders(c.arguments, values);
        const ToolResult r = runTool(VORKCOMM_PATH, arguments, false, c.input ? dir.str() + "/" + c.input : "/dev/null");
        SCOPED_TRACE(c.arguments[0] + " " + (c.arguments.size() > 1 ? c.arguments[1] : "") + "\nstdout: " + r.out +
                     "\nstderr: " + r.err);
        EXPECT_EQ(r.exitCode, c.exitCode);
        for (const auto &text : c.outHas) EXPECT_NE(r.out.find(text), std::string::npos) << text;
        // A password given on standard input reaches no output.
        EXPECT_EQ((r.out + r.err).find("s3cret-pw"), std::string::npos);
    }
    ::unsetenv("VORKCOMMC_ROOT");
}

}  // namespace
}  // namespace vork::test
