#include "base/SystemRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "support/TempDir.h"

namespace {

// The override wins over the environment; "/" or nothing is the real root;
// only absolute paths are redirected.
TEST(SystemRoot, OverrideThenEnvironmentRedirectsAbsolutePaths) {
    struct Row {
        std::optional<std::string> root, env;
        std::string path, expected;
    };
    for (const Row &row : std::vector<Row>{
             {std::nullopt, std::nullopt, "/Library/Application Support/VORK", "/Library/Application Support/VORK"},
             {std::nullopt, "/tmp/sandbox/", "/usr/sbin/diskutil", "/tmp/sandbox/usr/sbin/diskutil"},
             {"/", "/from/env", "/Library/x", "/Library/x"},
             {"/sandbox", "/from/env", "relative/file", "relative/file"},
             {"/sandbox//", "/from/env", "/private/tmp", "/sandbox/private/tmp"}}) {
        row.env ? setenv("VORKCOMMC_ROOT", row.env->c_str(), 1) : unsetenv("VORKCOMMC_ROOT");
        row.root ? vork::setSystemRoot(*row.root) : vork::clearSystemRootOverride();
        EXPECT_EQ(vork::systemPath(row.path), row.expected) << row.path;
    }
    vork::clearSystemRootOverride();
    {
        vork::test::SystemRootSandbox sandbox;
        EXPECT_EQ(vork::systemPath("/private/tmp"), sandbox.root().str() + "/private/tmp");
    }
    // Until the override is cleared.
    EXPECT_EQ(vork::systemPath("/private/tmp"), "/from/env/private/tmp");
    unsetenv("VORKCOMMC_ROOT");
}

}  // namespace
