#include "sysinfo/InterfaceNames.h"

#include <algorithm>
#include <string>

namespace vork {

std::vector<platform::NetworkInterface> withAgentInterfaceNames(std::vector<platform::NetworkInterface> interfaces) {
    std::vector<platform::NetworkInterface> adapters;
    for (const platform::NetworkInterface &interface : interfaces)
        if (interface.hardware) adapters.push_back(interface);
    std::stable_sort(adapters.begin(), adapters.end(),
                     [](const platform::NetworkInterface &a, const platform::NetworkInterface &b) {
                         if (a.defaultRoute != b.defaultRoute) return a.defaultRoute;
                         return a.index < b.index;
                     });
    for (size_t i = 0; i < adapters.size(); ++i) {
        adapters[i].name = "en" + std::to_string(i);
        interfaces.push_back(std::move(adapters[i]));
    }
    return interfaces;
}

}  // namespace vork
