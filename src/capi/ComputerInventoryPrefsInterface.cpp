// computerInventoryPrefs: the inventory collection preferences call.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *computerInventoryPrefs(void) {
    logDebugf("computerInventoryPrefs called");
    return capi::runServerCall<ZelCallComputerInventoryPrefs>([](ZelCallComputerInventoryPrefs &) {});
}
