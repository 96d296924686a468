// clientSitePrivileges and clientSiteSelection: the two site calls.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *clientSitePrivileges(const char *clientAppName) {
    // The line goes out before the call's first step, which may create the
    // session and its default log.
    std::optional<std::string> name = capi::guarded<std::optional<std::string>>(std::nullopt, [&] {
        auto text = capi::argument(clientAppName);
        logDebugf("clientSitePrivileges called with %s", text ? text->c_str() : "(null)");
        return text;
    });
    return capi::runServerCall<ZelCallClientSitePrivileges>(
        [&](ZelCallClientSitePrivileges &call) { call.setClientAppName(std::move(name)); });
}

const char *clientSiteSelection(int siteID) {
    logDebugf("clientSiteSelection called with %d", siteID);
    return capi::runServerCall<ZelCallClientSiteSelection>(
        [&](ZelCallClientSiteSelection &call) { call.setSiteID(siteID); });
}
