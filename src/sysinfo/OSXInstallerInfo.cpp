#include "VORKCoreCommC/sysinfo/OSXInstallerInfo.h"

#include <filesystem>

#include "base/Exception.h"
#include "platform/SystemInformationSource.h"

namespace vork {

std::string OSXInstallerInfo::getOsxInstallVersion(const std::string &root) {
    const std::string path = (std::filesystem::path(root) / "System/Library/CoreServices/SystemVersion.plist").string();
    const std::optional<platform::StringDictionary> dictionary =
        platform::systemInformationSource().get()->readPropertyList(path);
    if (!dictionary) return "";
    auto version = dictionary->find("ProductVersion");
    if (version == dictionary->end())
        throw Exception("NSInvalidArgumentException", "SystemVersion.plist has no ProductVersion text");
    return version->second;
}

}  // namespace vork
