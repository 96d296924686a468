// vorkRef: an access list of the credential store that trusts one program.
#include "VORKCoreCommC/server.h"

#include "VORKCoreCommC/security/VORKSecurityAccess.h"
#include "base/CommCLog.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "platform/RunningProgram.h"

using namespace vork;

namespace {

constexpr const char *kAccessDescriptor = "vork";

}  // namespace

VORKAccess *vorkRef(const char *path) {
    return capi::guarded<VORKAccess *>(nullptr, [&]() -> VORKAccess * {
        // No path: the program that calls.
        const std::optional<std::string> program =
            path ? capi::argument(path) : platform::runningProgram().get()->executablePath();
        logDebugf("vorkRef=%s", program ? program->c_str() : "(null)");
        if (!program) return nullptr;
        auto access = VORKSecurityAccess::accessForApplicationsAtPaths({*program}, kAccessDescriptor, nullptr);
        return access ? new VORKSecurityAccess(std::move(*access)) : nullptr;
    });
}

void vorkRefRelease(VORKAccess *access) {
    capi::guardedVoid([&] { delete access; });
}
