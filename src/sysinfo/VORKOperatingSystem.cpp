#include "VORKCoreCommC/sysinfo/VORKOperatingSystem.h"

#include "base/Format.h"
#include "util/IpAddress.h"
#include "util/Strings.h"

namespace vork {

namespace {

int32_t partValue(const std::string &part) { return util::isNumeric(part) ? util::lenientIntValue(part) : 0; }

std::string joined(int32_t major, int32_t minor, int32_t point) {
    return stringf("%ld.%ld.%ld", static_cast<long>(major), static_cast<long>(minor), static_cast<long>(point));
}

}  // namespace

VORKOperatingSystem::VORKOperatingSystem(const std::string &versionString) : versionString_(versionString) {
    parseVersionString();
}

void VORKOperatingSystem::parseVersionString() {
    const std::vector<std::string> pieces = util::split(versionString_, ".");
    majorVersion_ = partValue(pieces[0]);
    minorVersion_ = partValue(pieces.size() >= 2 ? pieces[1] : "0");
    pointVersion_ = partValue(pieces.size() >= 3 ? pieces[2] : "0");
    versionString_ = joined(majorVersion_, minorVersion_, pointVersion_);
}

bool VORKOperatingSystem::isLessThan(const VORKOperatingSystem &other) const {
    if (majorVersion_ != other.majorVersion_) return majorVersion_ < other.majorVersion_;
    if (minorVersion_ != other.minorVersion_) return minorVersion_ < other.minorVersion_;
    return pointVersion_ < other.pointVersion_;
}

bool VORKOperatingSystem::isEqualToVORKOperatingSystem(const VORKOperatingSystem &other) const {
    return versionString_ == other.versionString_;
}

bool VORKOperatingSystem::isLessThanOrEqualTo(const VORKOperatingSystem &other) const {
    return isLessThan(other) || isEqualToVORKOperatingSystem(other);
}

bool VORKOperatingSystem::isGreaterThan(const VORKOperatingSystem &other) const { return !isLessThanOrEqualTo(other); }

bool VORKOperatingSystem::isGreaterThanOrEqualTo(const VORKOperatingSystem &other) const {
    return isGreaterThan(other) || isEqualToVORKOperatingSystem(other);
}

bool VORKOperatingSystem::isLessThanVersionString(const std::string &version) const {
    return isLessThan(VORKOperatingSystem(version));
}
bool VORKOperatingSystem::isLessThanOrEqualToVersionString(const std::string &version) const {
    return isLessThanOrEqualTo(VORKOperatingSystem(version));
}
bool VORKOperatingSystem::isGreaterThanVersionString(const std::string &version) const {
    return isGreaterThan(VORKOperatingSystem(version));
}
bool VORKOperatingSystem::isGreaterThanOrEqualToVersionString(const std::string &version) const {
    return isGreaterThanOrEqualTo(VORKOperatingSystem(version));
}
bool VORKOperatingSystem::isEqualToOsString(const std::string &version) const {
    return isEqualToVORKOperatingSystem(VORKOperatingSystem(version));
}

std::vector<std::string> VORKOperatingSystem::versionStringPartsFromWildCardString(const std::string &pattern,
                                                                                  const std::string &wildCard) {
    const std::vector<std::string> allWild{wildCard, wildCard, wildCard};
    std::vector<std::string> parts = util::split(pattern, ".");
    if (parts.size() < 2) parts = allWild;
    if (parts.size() == 2) parts.push_back(wildCard);
    if (parts[1] != wildCard) return parts;
    return parts[2] == wildCard ? parts : allWild;
}

bool VORKOperatingSystem::matchesVersionString(const std::string &pattern, const std::string &wildCard) const {
    const std::vector<std::string> parts = versionStringPartsFromWildCardString(pattern, wildCard);
    const int32_t own[3] = {majorVersion_, minorVersion_, pointVersion_};
    std::string candidate;
    for (size_t i = 0; i < 3; ++i) {
        std::string part = util::strip(parts[i]);
        // The major place is never a wild card.
        if (i > 0 && part == wildCard) part = std::to_string(own[i]);
        candidate += (i ? "." : "") + part;
    }
    return candidate == joined(own[0], own[1], own[2]);
}

}  // namespace vork
