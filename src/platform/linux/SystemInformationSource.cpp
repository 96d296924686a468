// The operating-system facts on Linux.
//
// The version tool is run when the system has one at its fixed path (a
// system that provides it, or a test's stand-in under the library's root).
// Otherwise the same three lines are built from os-release(5):
// /etc/os-release, then /usr/lib/os-release (see OsRelease.h for which
// field feeds which line). Both paths resolve under the library's root.
#include "platform/SystemInformationSource.h"

#include <unistd.h>

#include <fstream>
#include <iterator>

#include "VORKCoreCommC/sysinfo/VORKTask.h"
#include "base/SystemRoot.h"
#include "platform/ConsoleUser.h"
#include "platform/linux/OsRelease.h"
#include "platform/linux/PropertyList.h"

namespace vork::platform {

namespace {

std::optional<std::string> readWholeFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return std::nullopt;
    return bytes;
}

class LinuxSystemInformationSource : public SystemInformationSource {
public:
    std::string versionToolOutput() override {
        const std::string tool = systemPath("/usr/bin/sw_vers");
        if (::access(tool.c_str(), X_OK) == 0) return VORKTask::runTask(tool, {});
        for (const char *file : {"/etc/os-release", "/usr/lib/os-release"})
            if (std::optional<std::string> text = readWholeFile(systemPath(file)))
                return osReleaseAsVersionToolOutput(*text);
        return {};
    }

    std::string consoleUserName() override { return consoleUser().get()->userName(); }

    std::optional<StringDictionary> readPropertyList(const std::string &path) override {
        std::optional<std::string> bytes = readWholeFile(path);
        if (!bytes) return std::nullopt;
        return propertyListDictionary(*bytes);
    }
};

}  // namespace

ServiceSlot<SystemInformationSource> &systemInformationSource() { return defaultServiceSlot<SystemInformationSource, LinuxSystemInformationSource>(); }

}  // namespace vork::platform
