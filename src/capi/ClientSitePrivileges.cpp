// clientSitePrivileges and clientSiteSelection: the two site calls.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *clientSitePrivileges(const char *clientAppName) {
    return capi::runServerCall<ZelCallClientSitePrivileges>([&](ZelCallClientSitePrivileges &call) {
        auto name = capi::argument(clientAppName);
        logDebugf("clientSitePrivileges called with %s", name ? name->c_str() : "(null)");
        call.setClientAppName(std::move(name));
    });
}

const char *clientSiteSelection(int siteID) {
    logDebugf("clientSiteSelection called with %d", siteID);
    return capi::runServerCall<ZelCallClientSiteSelection>(
        [&](ZelCallClientSiteSelection &call) { call.setSiteID(siteID); });
}
