// The hardware UUID on Linux.
//
// Source, in order:
//  1. the firmware's product UUID, /sys/class/dmi/id/product_uuid (SMBIOS
//     system UUID; readable by root only on most systems), upper-cased;
//     all-zero and all-F placeholders are ignored;
//  2. otherwise a stable identifier derived from /etc/machine-id: the first
//     16 bytes of HMAC-SHA256 keyed with the machine id over a fixed
//     application key, marked as a version-4 UUID. The machine id itself is
//     never sent (machine-id(5) asks applications not to expose it), and
//     the same machine always gives the same UUID.
// Both paths go through vork::systemPath(), so tests can put their own
// files in place.
//
// The answer for the real system root is read once and kept by the
// implementation object for the life of the process: the firmware UUID and
// the machine id do not change while it runs, and every server message
// carries the UUID. Under a substituted root (a test's sandbox) the files
// are read on every call, and a double installed in the slot replaces the
// object together with its cache.
#include "platform/MachineIdentity.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <mutex>

#include "base/Format.h"
#include "base/SystemRoot.h"

namespace vork::platform {

namespace {

// Fixed key of this application for deriving its identifier from the
// machine id (random bytes, chosen once).
constexpr unsigned char kApplicationKey[16] = {0x5b, 0x2e, 0x9a, 0x41, 0xc7, 0x13, 0x4f, 0x88,
                                               0xa0, 0x6d, 0x3c, 0xe2, 0x71, 0x0f, 0xb4, 0x95};

std::optional<std::string> readFirstLine(const std::string &path) {
    std::ifstream in(systemPath(path));
    if (!in) return std::nullopt;
    std::string line;
    std::getline(in, line);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    return line;
}

bool isHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

std::optional<std::string> firmwareUuid() {
    std::optional<std::string> text = readFirstLine("/sys/class/dmi/id/product_uuid");
    if (!text || text->size() != 36) return std::nullopt;
    std::string uuid = *text;
    for (size_t i = 0; i < uuid.size(); ++i) {
        bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? uuid[i] != '-' : !isHex(uuid[i])) return std::nullopt;
        uuid[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(uuid[i])));
    }
    if (uuid == "00000000-0000-0000-0000-000000000000" || uuid == "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF")
        return std::nullopt;
    return uuid;
}

std::optional<std::string> machineIdUuid() {
    std::optional<std::string> text = readFirstLine("/etc/machine-id");
    if (!text || text->size() != 32 || !std::all_of(text->begin(), text->end(), isHex)) return std::nullopt;
    unsigned char id[16];
    for (size_t i = 0; i < 16; ++i) id[i] = static_cast<unsigned char>(std::stoi(text->substr(i * 2, 2), nullptr, 16));
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!HMAC(EVP_sha256(), id, sizeof id, kApplicationKey, sizeof kApplicationKey, digest, &length) || length < 16)
        return std::nullopt;
    digest[6] = static_cast<unsigned char>((digest[6] & 0x0F) | 0x40);
    digest[8] = static_cast<unsigned char>((digest[8] & 0x3F) | 0x80);
    const unsigned char *b = digest;
    return stringf("%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1], b[2], b[3], b[4],
                   b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
}

std::optional<std::string> readHardwareUuid() {
    if (std::optional<std::string> uuid = firmwareUuid()) return uuid;
    return machineIdUuid();
}

class LinuxMachineIdentity : public MachineIdentity {
public:
    std::optional<std::string> hardwareUuid() override {
        if (!systemRoot().empty()) return readHardwareUuid();
        std::lock_guard<std::mutex> lock(mutex_);
        // Only an answer is kept; a machine without one is asked again.
        if (!cached_) cached_ = readHardwareUuid();
        return cached_;
    }

private:
    std::mutex mutex_;
    std::optional<std::string> cached_;
};

}  // namespace

ServiceSlot<MachineIdentity> &machineIdentity() { return defaultServiceSlot<MachineIdentity, LinuxMachineIdentity>(); }

}  // namespace vork::platform
