#pragma once
// Identifies the computer to the server: its hardware UUID and the hardware
// addresses of its network interfaces, written with dots instead of colons
// ("00.1c.42.aa.bb.cc"), which is the form the agent sends and compares.
#include <map>
#include <mutex>
#include <string>

#include "base/Export.h"

namespace vork {

// Interface name -> address in the dotted form ("" for an interface
// without one).
using MacAddressTable = std::map<std::string, std::string>;

// A table filled from the platform's interface list on first use and kept
// from then on; an empty table (no named interfaces) is filled again on
// every call. The system's names are listed together with the "en" names
// the hardware adapters get (see InterfaceNames.h), which come last; a later
// interface of the same name overwrites an earlier one.
class VORK_EXPORT MacAddressCache {
public:
    MacAddressTable addresses();

private:
    std::mutex mutex_;
    MacAddressTable table_;
};

class VORK_EXPORT VORKHardwareIdentification {
public:
    // The platform UUID of the machine. Raises vork::Exception
    // "NSInvalidArgumentException" when the machine offers none.
    static std::string getHardwareUUID();
    // The process-wide address table.
    static MacAddressTable getAllMacAddresses();
    // The address of "en0", trimmed, or "" when there is no such interface.
    static std::string getMacAddress();
    // The same for "en1".
    static std::string getAltMacAddress();
};

}  // namespace vork
