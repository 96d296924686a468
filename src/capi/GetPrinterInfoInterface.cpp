// getPrinterInfo: one printer's definition.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *getPrinterInfo(int printerId) {
    logDebugf("getPrinterInfo=%d", printerId);
    return capi::runServerCall<ZelCallGetPrinterInfo>([&](ZelCallGetPrinterInfo &call) { call.setPrinterId(printerId); });
}
