// adminAddObject: what the server offers for adding a new object.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *adminAddObject(void) {
    logDebugf("adminAddObject called");
    return capi::runServerCall<ZelCallAdminAddObject>([](ZelCallAdminAddObject &) {});
}
