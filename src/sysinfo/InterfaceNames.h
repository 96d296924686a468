#pragma once
// The names the agent knows network interfaces by. The protocol names the
// machine's adapters "en0", "en1", ... (the primary address is that of
// "en0", the alternative one that of "en1"); a system that names them
// otherwise ("eth0", "enp3s0", "wlan0") gets those names added: its hardware
// adapters, the one carrying the default route first and the others by
// interface index, become en0, en1, ... Software interfaces (loop-back,
// bridges, tunnels, container and hypervisor networks) get no such name.
#include <vector>

#include "platform/NetworkInterfaces.h"

namespace vork {

// The system's list (kept, in its order) followed by one copy of each
// hardware adapter under its "en" name, in the order above.
std::vector<platform::NetworkInterface> withAgentInterfaceNames(std::vector<platform::NetworkInterface> interfaces);

}  // namespace vork
