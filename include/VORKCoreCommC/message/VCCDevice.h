#pragma once
/** \file
 * The device record every request carries: the hardware UUID and the
 * hardware addresses of the "en" interfaces.
 */
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/VCCNode.h"
#include "VORKCoreCommC/xml/XmlNode.h"

namespace vork {

/// One interface's hardware address.
class VORK_EXPORT VCCMacAddress : public VCCNode {
public:
    VCCMacAddress() = default;
    /// An address of the interface named bsdName.
    VCCMacAddress(std::optional<std::string> bsdName, std::optional<std::string> address)
        : address_(std::move(address)), bsdName_(std::move(bsdName)) {}

    /// The dotted hardware address ("00.1c.42.aa.bb.cc").
    const std::optional<std::string> &address() const { return address_; }
    /// Sets the address.
    void setAddress(std::optional<std::string> address) { address_ = std::move(address); }
    /// The interface's system name ("en0").
    const std::optional<std::string> &bsdName() const { return bsdName_; }
    /// Sets the interface name.
    void setBsdName(std::optional<std::string> name) { bsdName_ = std::move(name); }

private:
    std::optional<std::string> address_;
    std::optional<std::string> bsdName_;
};

/// What saving a device record does with a blank uuid and addresses never
/// gathered: look them up first (what every message does), or write the
/// record as it stands (for a message that must go out even when the machine
/// cannot be identified).
enum class MissingDeviceInfo { Retrieve, Leave };

/// The device record every request carries.
class VORK_EXPORT VCCDevice : public VCCNode {
public:
    /// Fills what is missing (a blank uuid, addresses never gathered) unless
    /// told to leave it, then appends "device" with "uuid" and "macAddresses"
    /// to the parent.
    void saveToXmlNode(xml::XmlNode &parent, MissingDeviceInfo missing = MissingDeviceInfo::Retrieve);
    /// Reads a reply's "device" element (a null handle changes nothing).
    void loadFromXmlNode(const xml::XmlNode &deviceElement);
    /// Rebuilds the address list from the "macAddress" children.
    void loadMacAddresses(const xml::XmlNode &macAddressesElement);
    /// Hardware UUID when the uuid is blank; addresses when never gathered.
    void retrieveMissingDeviceInfo();
    /// Hardware UUID and addresses, unconditionally.
    void retrieveHardwareIdentification();
    /// The addresses of the interfaces whose name begins with "en".
    void retrieveMacAddresses();

    /// The hardware UUID, none or "" when not known.
    const std::optional<std::string> &uuid() const { return uuid_; }
    /// Sets the uuid.
    void setUuid(std::optional<std::string> uuid) { uuid_ = std::move(uuid); }
    /// None: not gathered yet (unlike an empty list).
    const std::optional<std::vector<VCCMacAddress>> &macAddresses() const { return macAddresses_; }
    /// Sets the address list.
    void setMacAddresses(std::optional<std::vector<VCCMacAddress>> addresses) { macAddresses_ = std::move(addresses); }

private:
    std::optional<std::string> uuid_;
    std::optional<std::vector<VCCMacAddress>> macAddresses_;
};

}  // namespace vork
