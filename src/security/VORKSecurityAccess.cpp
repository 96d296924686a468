#include "VORKCoreCommC/security/VORKSecurityAccess.h"

#include <filesystem>

#include "VORKCoreCommC/security/VORKSecurityError.h"
#include "security/store/Objects.h"

namespace vork {

VORKSecurityAccess::VORKSecurityAccess(SecAccessRef reference) : reference_(std::move(reference)) {}

std::optional<VORKSecurityAccess> VORKSecurityAccess::accessForApplicationsAtPaths(
    const std::vector<std::string> &paths, const std::string &descriptor, DomainError *error) {
    auto access = std::make_shared<sec::Access>();
    access->descriptor = descriptor;
    for (const std::string &path : paths) {
        // A trusted program is recorded by its canonical path, which is what
        // the running program's /proc/self/exe reads as.
        std::error_code ec;
        auto canonical = std::filesystem::canonical(path, ec);
        if (ec || !std::filesystem::is_regular_file(canonical, ec)) {
            VORKSecurityError::assignErrorFromStatus(errSecParam, error);
            return std::nullopt;
        }
        access->programs.push_back(canonical.string());
    }
    return VORKSecurityAccess(std::move(access));
}

std::optional<VORKSecurityAccess> VORKSecurityAccess::accessForOnlyRoot(DomainError *) {
    auto access = std::make_shared<sec::Access>();
    access->rootOnly = true;
    return VORKSecurityAccess(std::move(access));
}

}  // namespace vork
