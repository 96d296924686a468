// The task runner against real processes: small shell scripts written into
// the test's folder.
#include <gtest/gtest.h>

#include "VORKCoreCommC/sysinfo/VORKTask.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"

namespace vork {
namespace {

TEST(Task, AnswersWhatTheToolPrinted) {
    struct Case { const char *script; std::vector<std::string> args; std::string expected; };
    for (const Case &c : std::vector<Case>{
             {"exit 0\n", {}, ""},
             // The exit status is not examined; standard error is inherited, not mixed into the answer.
             {"echo out; echo err >&2; exit 3\n", {}, "out\n"},
             // Each argument arrives as one argv entry, untouched by any shell.
             {"for a in \"$@\"; do printf '[%s]' \"$a\"; done\n", {"list", "-plist", "", "two words", "$HOME;rm -rf x", "*"},
              "[list][-plist][][two words][$HOME;rm -rf x][*]"},
             {"printf 'a\\377b'\n", {}, "a\xEF\xBF\xBD" "b"},
             // 4 MiB: far more than a pipe holds while the tool is still running.
             {"head -c 4194304 /dev/zero | tr '\\0' x\n", {}, std::string(4194304, 'x')}}) {
        SCOPED_TRACE(c.script);
        test::TempDir dir;
        const auto tool = dir.writeExecutable("tool", std::string("#!/bin/sh\n") + c.script);
        EXPECT_EQ(VORKTask::runTask(tool.string(), c.args), c.expected);
    }
}

TEST(Task, ToolThatCannotStartAnswersEmptyAndIsLogged) {
    test::TempDir dir;
    test::RecordingLog log;
    const auto notExecutable = dir.write("plain", "#!/bin/sh\necho hi\n");
    const std::string paths[] = {(dir / "missing").string(), notExecutable.string()};
    for (const std::string &path : paths) {
        log.clear();
        EXPECT_EQ(VORKTask::runTask(path, {"x"}), "") << path;
        EXPECT_TRUE(log.anyContains("VORKTask.runTask: " + path + " could not be started")) << path;
    }
}

}  // namespace
}  // namespace vork
