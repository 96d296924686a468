// The disk-image C function: one whole attach, count and detach per call.
#include "VORKCoreCommC/disks.h"

#include "base/CommCLog.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "disks/DmgPartitionInfo.h"

using namespace vork;

bool dmgHasMultiplePartitions(const char *dmgFilePath) {
    return capi::guarded<bool>(false, [&] {
        const auto path = capi::argument(dmgFilePath);
        if (!path) {
            logDebugf("dmgHasMultiplePartitions: no image path; nothing was run");
            return false;
        }
        DmgPartitionInfo info(path);
        info.parseOutput(info.attachDmg());
        const bool answer = info.hasMultiplePartitions();
        info.detachDmg();
        return answer;
    });
}
