// keepAlive: the keep-alive call on the process's server session.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *keepAlive(unsigned char invalidate) {
    logDebugf("keepAlive=%d", invalidate ? 1 : 0);
    return capi::runServerCall<ZelCallKeepAlive>([&](ZelCallKeepAlive &call) { call.setInvalidate(invalidate != 0); });
}
