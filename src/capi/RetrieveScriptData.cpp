// retrieveScriptData: one script's data.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *retrieveScriptData(int scriptId) {
    logDebugf("retrieveScriptData=%d", scriptId);
    return capi::runServerCall<ZelCallRetrieveScriptData>(
        [&](ZelCallRetrieveScriptData &call) { call.setScriptId(scriptId); });
}
