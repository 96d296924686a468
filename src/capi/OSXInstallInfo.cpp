// getOSXInstallVersion: the version of the installation under a folder.
#include "VORKCoreCommC/sysinfo/OSXInstallerInfo.h"
#include "VORKCoreCommC/system.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"

using namespace vork;

const char *getOSXInstallVersion(const char *path) {
    return capi::guarded<const char *>(capi::emptyText(), [&] {
        const std::optional<std::string> root = capi::argument(path);
        if (!root) return capi::emptyText();
        return capi::returnText(std::string_view(OSXInstallerInfo::getOsxInstallVersion(*root)));
    });
}
