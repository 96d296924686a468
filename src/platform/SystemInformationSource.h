#pragma once
// The three facts the operating-system classes take from the platform: what
// the system's version tool prints, the console user, and the dictionary of
// a property-list file. The parsing and comparing above this interface work
// on text alone.
#include <map>
#include <optional>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

// The text values of a property-list dictionary (values of other kinds are
// left out).
using StringDictionary = std::map<std::string, std::string>;

class SystemInformationSource {
public:
    virtual ~SystemInformationSource() = default;
    // The version tool's standard output: lines "ProductName:", then
    // "ProductVersion:" and "BuildVersion:", each followed by a tab and the
    // value.
    virtual std::string versionToolOutput() = 0;
    // The console user's name, "" when there is none.
    virtual std::string consoleUserName() = 0;
    // The dictionary of the property list at path (XML or binary); none
    // when the file is missing, unreadable or not a dictionary.
    virtual std::optional<StringDictionary> readPropertyList(const std::string &path) = 0;
};

ServiceSlot<SystemInformationSource> &systemInformationSource();

}  // namespace vork::platform
