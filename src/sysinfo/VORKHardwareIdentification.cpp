#include "sysinfo/VORKHardwareIdentification.h"

#include <algorithm>

#include "base/Exception.h"
#include "platform/MachineIdentity.h"
#include "platform/NetworkInterfaces.h"
#include "sysinfo/InterfaceNames.h"
#include "util/Strings.h"

namespace vork {

namespace {

MacAddressCache &processTable() {
    static MacAddressCache cache;
    return cache;
}

std::string trimmedAddressOf(const std::string &name) {
    MacAddressTable table = VORKHardwareIdentification::getAllMacAddresses();
    auto it = table.find(name);
    return it == table.end() ? std::string() : util::trim(it->second);
}

}  // namespace

MacAddressTable MacAddressCache::addresses() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (table_.empty()) {
        for (const platform::NetworkInterface &interface :
             withAgentInterfaceNames(platform::networkInterfaces().get()->list())) {
            if (interface.name.empty()) continue;
            std::string dotted = interface.hardwareAddress;
            std::replace(dotted.begin(), dotted.end(), ':', '.');
            table_[interface.name] = dotted;
        }
    }
    return table_;
}

std::string VORKHardwareIdentification::getHardwareUUID() {
    std::optional<std::string> uuid = platform::machineIdentity().get()->hardwareUuid();
    if (!uuid) throw Exception("NSInvalidArgumentException", "The hardware UUID of this machine could not be read");
    return *uuid;
}

MacAddressTable VORKHardwareIdentification::getAllMacAddresses() { return processTable().addresses(); }

std::string VORKHardwareIdentification::getMacAddress() { return trimmedAddressOf("en0"); }

std::string VORKHardwareIdentification::getAltMacAddress() { return trimmedAddressOf("en1"); }

}  // namespace vork
