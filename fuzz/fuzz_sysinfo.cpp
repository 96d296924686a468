// Arbitrary bytes through the version readers: as version-tool output, as
// an os-release file and as a version property list; the first line also
// serves as a version text and as a wild-card pattern.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "VORKCoreCommC/sysinfo/VORKSystemInformation.h"
#include "platform/linux/OsRelease.h"
#include "platform/linux/PropertyList.h"

namespace {

void readFields(const std::string &output) {
    vork::VORKSystemInformation info;
    for (auto get : {&vork::VORKSystemInformation::getVersionStringFromString,
                     &vork::VORKSystemInformation::getProductNameFromString,
                     &vork::VORKSystemInformation::getBuildVersionFromString}) {
        try {
            vork::VORKOperatingSystem os((info.*get)(output));
            (void)os.matchesVersionString(os.versionString(), "x");
        } catch (const std::runtime_error &) {
            // A missing field or a key line without a value.
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace vork;
    const std::string input(reinterpret_cast<const char *>(data), size);
    const size_t newline = input.find('\n');
    const std::string first = input.substr(0, newline == std::string::npos ? input.size() : newline);

    VORKOperatingSystem os(first);
    VORKOperatingSystem other(input);
    (void)os.isLessThan(other);
    (void)os.isGreaterThanOrEqualTo(other);
    (void)other.matchesVersionString(first, first.substr(0, 1));
    (void)VORKOperatingSystem::versionStringPartsFromWildCardString(input, "x");

    readFields(input);
    readFields(platform::osReleaseAsVersionToolOutput(input));
    if (auto dictionary = platform::propertyListDictionary(input)) (void)dictionary->count("ProductVersion");
    return 0;
}
