// adminSave: saves the objects of a caller-built command-data element.
#include "VORKCoreCommC/server.h"

#include "base/CommCLog.h"
#include "capi/ServerCall.h"
#include "zel/ZelCalls.h"

using namespace vork;

const char *adminSave(const char *xmlData) {
    return capi::runServerCall<ZelCallAdminSave>([&](ZelCallAdminSave &call) {
        auto xml = capi::argument(xmlData);
        logDebugf("adminSave xmlData length=%zu", xml ? xml->size() : size_t{0});
        call.setXmlData(std::move(xml));
    });
}
