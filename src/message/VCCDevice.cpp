#include "message/VCCDevice.h"

#include "message/ChildElements.h"
#include "message/EnvelopeWriter.h"
#include "sysinfo/VORKHardwareIdentification.h"
#include "util/Strings.h"
#include "xml/TreeSink.h"
#include "xml/XmlNodeExtension.h"

namespace vork {

void VCCDevice::saveToXmlNode(xml::XmlNode &parent, MissingDeviceInfo missing) {
    xml::TreeSink sink(parent);
    envelope::writeDevice(*this, sink, missing);
}

void VCCDevice::loadFromXmlNode(const xml::XmlNode &deviceElement) {
    if (!deviceElement) return;
    uuid_ = firstChildElementText(deviceElement, "uuid");
    if (xml::XmlNode list = firstChildElementNamed(deviceElement, "macAddresses")) loadMacAddresses(list);
}

void VCCDevice::loadMacAddresses(const xml::XmlNode &macAddressesElement) {
    std::vector<VCCMacAddress> addresses;
    for (const xml::XmlNode &mac : childElementsNamed(macAddressesElement, "macAddress"))
        addresses.emplace_back(mac.attribute("bsdName"), mac.stringValue());
    macAddresses_ = std::move(addresses);
}

void VCCDevice::retrieveMissingDeviceInfo() {
    if (util::isEmptyAfterStrip(uuid_)) uuid_ = VORKHardwareIdentification::getHardwareUUID();
    if (!macAddresses_) retrieveMacAddresses();
}

void VCCDevice::retrieveHardwareIdentification() {
    uuid_ = VORKHardwareIdentification::getHardwareUUID();
    retrieveMacAddresses();
}

void VCCDevice::retrieveMacAddresses() {
    std::vector<VCCMacAddress> addresses;
    for (const auto &[name, address] : VORKHardwareIdentification::getAllMacAddresses()) {
        if (name.rfind("en", 0) != 0) continue;
        std::string trimmed = util::trim(address);
        if (!trimmed.empty()) addresses.emplace_back(name, trimmed);
    }
    macAddresses_ = std::move(addresses);
}

}  // namespace vork
