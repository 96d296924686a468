#include "base/SystemRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/TempDir.h"

namespace {

TEST(SystemRoot, RealRootLeavesPathsAlone) {
    vork::clearSystemRootOverride();
    unsetenv("VORKCOMMC_ROOT");
    EXPECT_EQ(vork::systemPath("/Library/Application Support/VORK"), "/Library/Application Support/VORK");
}

TEST(SystemRoot, EnvironmentRedirectsFixedPaths) {
    vork::clearSystemRootOverride();
    setenv("VORKCOMMC_ROOT", "/tmp/sandbox/", 1);
    EXPECT_EQ(vork::systemPath("/usr/sbin/diskutil"), "/tmp/sandbox/usr/sbin/diskutil");
    unsetenv("VORKCOMMC_ROOT");
}

TEST(SystemRoot, OverrideWinsOverEnvironmentUntilCleared) {
    setenv("VORKCOMMC_ROOT", "/from/env", 1);
    {
        vork::test::SystemRootSandbox sandbox;
        EXPECT_EQ(vork::systemPath("/private/tmp"), sandbox.root().str() + "/private/tmp");
    }
    EXPECT_EQ(vork::systemPath("/private/tmp"), "/from/env/private/tmp");
    unsetenv("VORKCOMMC_ROOT");
}

TEST(SystemRoot, SlashMeansTheRealRoot) {
    vork::setSystemRoot("/");
    EXPECT_EQ(vork::systemPath("/Library/x"), "/Library/x");
    vork::clearSystemRootOverride();
}

TEST(SystemRoot, RelativePathsAreNotRedirected) {
    vork::setSystemRoot("/sandbox");
    EXPECT_EQ(vork::systemPath("relative/file"), "relative/file");
    vork::clearSystemRootOverride();
}

}  // namespace
