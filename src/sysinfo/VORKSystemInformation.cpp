#include "VORKCoreCommC/sysinfo/VORKSystemInformation.h"

#include <mutex>

#include "base/Exception.h"
#include "platform/SystemInformationSource.h"
#include "util/CodePoints.h"
#include "util/Strings.h"

namespace vork {

namespace {

struct Field {
    const char *key;
    const char *name;
    const char *reason;
};

constexpr Field kVersion{"ProductVersion", "Operating System Version Not Found", "Operating System Version was not found"};
constexpr Field kProductName{"ProductName", "Product Name Not Found", "Operating System Product Name was not found"};
constexpr Field kBuild{"BuildVersion", "Build Version Not Found", "Operating System Build version was not found"};

bool isLineEnd(char32_t c) {
    return c == U'\n' || c == U'\r' || c == U'\v' || c == U'\f' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// The text split at every line-end character (so "\r\n" leaves an empty line between).
std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> result(1);
    for (size_t offset = 0; offset < text.size();) {
        const util::CodePointStep step = util::codePointAt(text, offset);
        if (isLineEnd(step.value)) result.emplace_back();
        else result.back().append(text, offset, step.length);
        offset += step.length;
    }
    return result;
}

std::string findField(const std::string &output, const Field &field) {
    for (const std::string &raw : lines(output)) {
        const std::string line = util::strip(raw);
        if (!line.starts_with(field.key)) continue;
        const std::vector<std::string> pieces = util::split(line, ":");
        // A key line without a colon has no second piece to read.
        if (pieces.size() < 2) throw Exception("NSRangeException", std::string(field.key) + " line has no value");
        return util::strip(pieces[1]);
    }
    throw OperatingSystemVersionNotFound(field.name, field.reason);
}

std::mutex g_cacheMutex;
std::shared_ptr<const VORKOperatingSystem> g_currentSystem;

}  // namespace

VORKSystemInformation VORKSystemInformation::systemInformation() { return {}; }

std::string VORKSystemInformation::getVersionStringFromString(const std::string &output) {
    return findField(output, kVersion);
}
std::string VORKSystemInformation::getProductNameFromString(const std::string &output) {
    return findField(output, kProductName);
}
std::string VORKSystemInformation::getBuildVersionFromString(const std::string &output) {
    return findField(output, kBuild);
}

std::string VORKSystemInformation::sw_versOutput() {
    return platform::systemInformationSource().get()->versionToolOutput();
}

std::string VORKSystemInformation::currentlyLoggedInUsername() {
    return platform::systemInformationSource().get()->consoleUserName();
}

std::shared_ptr<const VORKOperatingSystem> VORKSystemInformation::currentOperatingSystem() {
    std::lock_guard<std::mutex> lock(g_cacheMutex);
    if (g_currentSystem) return g_currentSystem;
    const std::string output = sw_versOutput();
    auto system = std::make_shared<VORKOperatingSystem>(getVersionStringFromString(output));
    system->setProductName(getProductNameFromString(output));
    system->setBuildVersion(getBuildVersionFromString(output));
    g_currentSystem = system;
    return g_currentSystem;
}

void VORKSystemInformation::resetStaticVariables() {
    std::lock_guard<std::mutex> lock(g_cacheMutex);
    g_currentSystem.reset();
}

}  // namespace vork
