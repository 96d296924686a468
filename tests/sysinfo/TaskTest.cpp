// The task runner against real processes: small shell scripts written into
// the test's folder.
#include <gtest/gtest.h>

#include "VORKCoreCommC/sysinfo/VORKTask.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"

namespace vork {
namespace {

struct TaskCase {
    const char *name;
    const char *script;
    std::vector<std::string> args;
    std::string expected;
};

class TaskOutput : public testing::TestWithParam<TaskCase> {};

TEST_P(TaskOutput, AnswersWhatTheToolPrinted) {
    test::TempDir dir;
    const auto tool = dir.writeExecutable("tool", std::string("#!/bin/sh\n") + GetParam().script);
    EXPECT_EQ(VORKTask::runTask(tool.string(), GetParam().args), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Tools, TaskOutput,
    testing::Values(
        TaskCase{"prints_nothing", "exit 0\n", {}, ""},
        // The exit status is not examined; standard error is inherited, not mixed into the answer.
        TaskCase{"failing_tool_output_kept", "echo out; echo err >&2; exit 3\n", {}, "out\n"},
        // Each argument arrives as one argv entry, untouched by any shell.
        TaskCase{"arguments_verbatim", "for a in \"$@\"; do printf '[%s]' \"$a\"; done\n",
                 {"list", "-plist", "", "two words", "$HOME;rm -rf x", "*"},
                 "[list][-plist][][two words][$HOME;rm -rf x][*]"},
        TaskCase{"invalid_utf8_replaced", "printf 'a\\377b'\n", {}, "a\xEF\xBF\xBD" "b"}),
    [](const testing::TestParamInfo<TaskCase> &info) { return std::string(info.param.name); });

TEST(Task, OutputLargerThanAPipeDoesNotBlock) {
    test::TempDir dir;
    // 4 MiB: far more than a pipe holds while the tool is still running.
    const auto tool = dir.writeExecutable("tool", "#!/bin/sh\nhead -c 4194304 /dev/zero | tr '\\0' x\n");
    const std::string output = VORKTask::runTask(tool.string(), {});
    EXPECT_EQ(output.size(), 4194304u);
    EXPECT_EQ(output.find_first_not_of('x'), std::string::npos);
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
