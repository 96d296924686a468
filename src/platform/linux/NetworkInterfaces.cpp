// Network interfaces from the kernel's list in /sys/class/net (through
// vork::systemPath(), so tests can lay out their own), ordered by interface
// index. An interface without a hardware address, or with the all-zero one
// the loop-back device reports, has the address "".
#include "platform/NetworkInterfaces.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include "base/SystemRoot.h"

namespace vork::platform {

namespace {

std::string firstLine(const std::filesystem::path &path) {
    std::ifstream in(path);
    std::string line;
    if (in) std::getline(in, line);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    return line;
}

class LinuxNetworkInterfaces : public NetworkInterfaces {
public:
    std::vector<NetworkInterface> list() override {
        struct Entry {
            long index;
            NetworkInterface interface;
        };
        std::vector<Entry> entries;
        std::error_code ec;
        std::filesystem::path root = systemPath("/sys/class/net");
        for (auto it = std::filesystem::directory_iterator(root, ec); !ec && it != std::filesystem::directory_iterator();
             it.increment(ec)) {
            const std::filesystem::path &dir = it->path();
            Entry entry;
            entry.interface.name = dir.filename().string();
            std::string index = firstLine(dir / "ifindex");
            entry.index = index.empty() ? -1 : std::strtol(index.c_str(), nullptr, 10);
            std::string address = firstLine(dir / "address");
            if (address.find_first_not_of("0:") == std::string::npos) address.clear();
            entry.interface.hardwareAddress = address;
            entries.push_back(std::move(entry));
        }
        std::stable_sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
            return a.index != b.index ? a.index < b.index : a.interface.name < b.interface.name;
        });
        std::vector<NetworkInterface> out;
        out.reserve(entries.size());
        for (Entry &entry : entries) out.push_back(std::move(entry.interface));
        return out;
    }
};

std::shared_ptr<NetworkInterfaces> makeDefault() { return std::make_shared<LinuxNetworkInterfaces>(); }

}  // namespace

ServiceSlot<NetworkInterfaces> &networkInterfaces() {
    static ServiceSlot<NetworkInterfaces> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
