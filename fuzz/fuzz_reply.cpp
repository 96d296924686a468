// Arbitrary bytes as a server reply: parsed into typed contents, raw
// contents and a declaration with the two known faults, then written back.
#include <cstdint>
#include <string_view>

#include "FuzzClasses.h"
#include "base/Exception.h"
#include "message/VCCMessage.h"
#include "platform/Clock.h"
#include "platform/MachineIdentity.h"
#include "platform/NetworkInterfaces.h"

namespace {

using namespace vork;

class FixedIdentity : public platform::MachineIdentity {
public:
    std::optional<std::string> hardwareUuid() override { return std::string("00000000-0000-4000-8000-000000000000"); }
};

class FixedInterfaces : public platform::NetworkInterfaces {
public:
    std::vector<platform::NetworkInterface> list() override { return {{"en0", "00:11:22:33:44:55"}}; }
};

bool isDeclarationFault(const Exception &e) {
    return e.name() == "Array Content Class not in _xmlFieldOrder" ||
           e.name() == "The array content class in _xmlFieldOrder could not be created.";
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // Writing a reply back fills in device facts; keep them off the machine.
    static auto identity = platform::machineIdentity().install(std::make_shared<FixedIdentity>());
    static auto interfaces = platform::networkInterfaces().install(std::make_shared<FixedInterfaces>());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char *>(data), size);

    VCCMessage typed;
    typed.setCommandDataClass(&fuzz::FuzzItem::mapping());
    typed.loadFromXmlData(bytes);  // a sound declaration never raises
    (void)typed.saveToXmlData();

    VCCMessage raw;
    raw.loadFromXmlData(bytes);
    for (const auto &content : raw.contents()) {
        (void)content->status()->description();
        (void)content->commandDataElement().xmlString();
    }
    (void)raw.saveToXmlData();

    VCCMessage faulty;
    faulty.setCommandDataClass(&fuzz::LooseList::mapping());
    try {
        faulty.loadFromXmlData(bytes);
    } catch (const Exception &e) {
        if (!isDeclarationFault(e)) __builtin_trap();
    }
    return 0;
}
