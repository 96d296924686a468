// A program built against the installed library through find_package: one
// keep-alive through the public call class on its own server interface, the
// reply read back with the public message classes; prints both.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <VORKCoreCommC/message/VCCMessage.h>
#include <VORKCoreCommC/zel/ZelCalls.h>

#include <iostream>
#include <memory>
#include <string>

int main(int argc, char **argv) {
    if (argc != 4) return 2;
    auto interface = std::make_shared<vork::ZelInterface>();
    interface->zelConfig()->setZelUrl(std::string(argv[1]));
    interface->zelConfig()->setZelUsername(std::string(argv[2]));
    interface->zelConfig()->setZelPassword(std::string(argv[3]));
    vork::ZelCallKeepAlive call;
    call.setZelInterface(interface);
    const std::string xml = call.execute();
    vork::VCCMessage reply;
    reply.loadFromXmlData(xml);
    const auto content = reply.content();
    std::cout << VORKCoreCommCVersion() << " status " << (content ? content->status()->code() : -1) << "\n"
              << xml << "\n";
    return 0;
}
