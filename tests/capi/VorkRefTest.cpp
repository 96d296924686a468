// vorkRef: an access list described "vork" trusting exactly one program.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <VORKCoreCommC/security/VORKSecurityAccess.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "security/store/Objects.h"
#include "support/TempDir.h"

namespace {

TEST(VorkRef, TrustsTheProgramAtThePathOrTheCallerAndNothingForAMissingPath) {
    vork::test::TempDir dir;
    const auto tool = dir.writeExecutable("bin/tool", "#!/bin/sh\n");
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    for (const auto &[path, trusted] : std::vector<std::pair<const char *, std::string>>{
             {tool.c_str(), std::filesystem::canonical(tool).string()}, {nullptr, self}}) {
        VORKAccess *access = vorkRef(path);
        ASSERT_NE(access, nullptr) << (path ? path : "(null)");
        EXPECT_EQ(access->reference()->descriptor, "vork");
        EXPECT_EQ(access->reference()->programs, std::vector<std::string>{trusted});
        vorkRefRelease(access);
    }
    EXPECT_EQ(vorkRef((dir / "bin/missing").c_str()), nullptr);
}

}  // namespace
