// The running program from /proc/self/exe and getgroups.
#include "platform/RunningProgram.h"

#include <unistd.h>

#include <filesystem>
#include <vector>

namespace vork::platform {

namespace {

class LinuxRunningProgram : public RunningProgram {
public:
    std::string executablePath() override {
        std::error_code ec;
        auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
        return ec ? std::string() : path.string();
    }
    bool isMemberOfGroup(gid_t group) override {
        if (::getegid() == group) return true;
        const int count = ::getgroups(0, nullptr);
        if (count <= 0) return false;
        std::vector<gid_t> groups(static_cast<size_t>(count));
        const int got = ::getgroups(count, groups.data());
        for (int i = 0; i < got; ++i)
            if (groups[static_cast<size_t>(i)] == group) return true;
        return false;
    }
};

}  // namespace

ServiceSlot<RunningProgram> &runningProgram() { return defaultServiceSlot<RunningProgram, LinuxRunningProgram>(); }

}  // namespace vork::platform
