#pragma once
// Who the running program is, for the credential store's access lists: the
// path of its executable and the groups it belongs to.
#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class RunningProgram {
public:
    virtual ~RunningProgram() = default;
    // The canonical path of the program's executable ("" when unknown).
    virtual std::string executablePath() = 0;
    // Whether the process acts with the group (effective or supplementary).
    virtual bool isMemberOfGroup(gid_t group) = 0;
};

ServiceSlot<RunningProgram> &runningProgram();

}  // namespace vork::platform
