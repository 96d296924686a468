// Arbitrary bytes as a server reply: parsed into typed contents, raw
// contents and declarations with the two known faults, then written back.
// The mapped classes are the message tests' own (every field kind, nested
// objects and lists) and the server's site.
#include <cstdint>
#include <string_view>

#include "../tests/message/MessageTestSupport.h"
#include "base/Exception.h"
#include "message/VCCMessage.h"
#include "zel/ZelContents.h"

using namespace vork;

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // Writing a reply back fills in device facts; keep them off the machine.
    static auto identity = platform::machineIdentity().install(
        std::make_shared<test::FakeMachineIdentity>("00000000-0000-4000-8000-000000000000"));
    static auto interfaces = platform::networkInterfaces().install(std::make_shared<test::FakeNetworkInterfaces>(
        std::vector<platform::NetworkInterface>{{"en0", "00:11:22:33:44:55"}}));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char *>(data), size);

    VCCMessage typed;
    typed.setCommandDataClass(&test::Crate::mapping());
    typed.loadFromXmlData(bytes);  // a sound declaration never raises
    (void)typed.saveToXmlData();

    VCCMessage raw;
    raw.loadFromXmlData(bytes);
    for (const auto &content : raw.contents()) {
        (void)content->status()->description();
        (void)content->commandDataElement().xmlString();
    }
    (void)raw.saveToXmlData();

    // A list entry without item class, and one whose item class does not exist.
    for (const MappedClass *faultyClass : {&Site::mapping(), &test::Shelf::mapping()}) {
        VCCMessage faulty;
        faulty.setCommandDataClass(faultyClass);
        try {
            faulty.loadFromXmlData(bytes);
        } catch (const Exception &e) {
            if (e.name() != "Array Content Class not in _xmlFieldOrder" &&
                e.name() != "The array content class in _xmlFieldOrder could not be created.")
                __builtin_trap();
        }
    }
    return 0;
}
