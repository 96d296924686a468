// vorkcomm as a user runs it: command-line errors, the version, progress
// only where it belongs, fast failures and JSON output.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <map>

#include "cli/ToolRun.h"
#include "support/Nginx.h"
#include "support/RefServer.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

// In the arguments {url} {dead} {dir} {pw} {file} are replaced.
struct Case { const char *name; std::vector<std::string> arguments; bool terminal; int exitCode;
              std::vector<std::string> outHas, errHas, errLacks; };

TEST(Vorkcomm, AnswersEachCommandLineAsAUserExpects) {
    RefServer server({.extraArguments = {"--fault-rate-limit", "8000000"}});
    server.addFile("pkg.bin", std::string(2 << 20, 'v'));
    TempDir dir;
    const std::string pw = dir.write("pw", server.password() + "\n").string();
    const std::string file = dir.write("data", "vork").string();
    const std::string version = std::string("vorkcomm ") + VORKCoreCommCVersion();
    const std::string bar = "100.0%";
    const std::vector<std::string> session = {"--server", "{url}", "--user", "agent", "--password-file", "{pw}"};
    auto withSession = [&](std::vector<std::string> a) {
        a.insert(a.end(), session.begin(), session.end());
        return a;
    };
    const std::vector<Case> cases = {
        {"version", {"--version"}, false, 0, {version}, {}, {}},
        {"unknown option", withSession({"keep-alive", "--bogus"}), false, 2, {}, {"--bogus"}, {}},
        {"unknown option swallows nothing", {"hash", "md5", "--server", "{file}"}, false, 2, {}, {"--server"}, {}},
        {"switch with a value", {"hash", "md5", "{file}", "--background=yes"}, false, 2, {}, {"takes no value"}, {}},
        {"number that is no number", {"upload", "{url}/upload/x", "{file}", "--retries", "abc"}, false, 2, {},
         {"--retries needs a whole number"}, {}},
        {"identifier that is no number", withSession({"site-select", "12x"}), false, 2, {}, {"usage"}, {}},
        {"download into a folder fails at once", {"download", "{url}/files/pkg.bin", "{dir}"}, false, 2, {},
         {"is a folder"}, {}},
        {"refused connection draws no bar", {"download", "http://127.0.0.1:{dead}/files/pkg.bin", "{dir}/a"}, true, 3,
         {}, {"vorkcomm: HTTP 0"}, {bar, "#"}},
        {"bar on a terminal", {"download", "{url}/files/pkg.bin", "{dir}/b", "--user", "agent", "--password-file", "{pw}"},
         true, 0, {}, {bar, "HTTP 200"}, {}},
        {"no bar when quiet", {"download", "{url}/files/pkg.bin", "{dir}/c", "--user", "agent", "--password-file", "{pw}",
         "--quiet"}, true, 0, {}, {}, {bar, "HTTP"}},
        {"no bar off a terminal", {"download", "{url}/files/pkg.bin", "{dir}/d", "--user", "agent", "--password-file",
         "{pw}"}, false, 0, {}, {"HTTP 200"}, {bar}},
        {"json of a server call", withSession({"keep-alive", "--json"}), false, 0,
         {R"({"command": "keep-alive", "status": 0, "description": "Success)", R"("exitCode": 0})"}, {}, {}},
        {"json of a refused server call", {"keep-alive", "--server", "http://127.0.0.1:{dead}", "--json"}, false, 3,
         {R"("status": 1999)"}, {}, {}},
        {"json of a digest", {"hash", "md5", "{file}", "--json"}, false, 0,
         {R"("digest": "5b29e2b43ad4512d565b20042e52c51f")"}, {}, {}},
        {"json of a transfer", {"download", "{url}/files/pkg.bin", "{dir}/e", "--user", "agent", "--password-file",
         "{pw}", "--json"}, true, 0, {R"({"httpStatus": 200, "error": null, "exitCode": 0})"}, {}, {bar}},
    };
    const std::map<std::string, std::string> values = {
        {"{url}", server.url()}, {"{dead}", std::to_string(freeLoopbackPort())}, {"{dir}", dir.str()}, {"{pw}", pw},
        {"{file}", file}};
    for (const Case &c : cases) {
        const std::vector<std::string> arguments = withPlaceholders(c.arguments, values);
        const ToolResult r = runTool(VORKCOMM_PATH, arguments, c.terminal);
        SCOPED_TRACE(std::string(c.name) + "\nstdout: " + r.out + "\nstderr: " + r.err);
        EXPECT_EQ(r.exitCode, c.exitCode);
        EXPECT_LT(r.seconds, 20.0);
        for (const auto &text : c.outHas) EXPECT_NE(r.out.find(text), std::string::npos) << text;
        for (const auto &text : c.errHas) EXPECT_NE(r.err.find(text), std::string::npos) << text;
        for (const auto &text : c.errLacks) EXPECT_EQ(r.err.find(text), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace vork::test
