// System information: the running system's facts, the version of an
// installation on another volume, and keeping a window frame on screen.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <VORKCoreCommC/sysinfo/VORKSystemInformation.h>

#include <climits>
#include <cstdio>
#include <exception>
#include <string>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

int systemInfo(const Options &o) {
    if (!o.positional.empty()) return usageError("system-info");
    auto info = vork::VORKSystemInformation::systemInformation();
    const std::string user = info.currentlyLoggedInUsername();
    const std::string uuid = getUdid();
    std::string version, product, build;
    try {
        auto os = info.currentOperatingSystem();
        version = os->versionString();
        product = os->productName();
        build = os->buildVersion();
    } catch (const std::exception &e) {
        std::fprintf(stderr, "vorkcomm: the system version cannot be read: %s\n", e.what());
    }
    auto orNull = [](const std::string &text) -> JsonValue { return text.empty() ? JsonValue(nullptr) : text; };
    const std::string human = "system:       " + product + " " + version + " (" + build + ")\n" +
                              "console user: " + (user.empty() ? "(none)" : user) + "\n" +
                              "hardware:     " + (uuid.empty() ? "(unknown)" : uuid);
    return emit(o, human,
                {{"productName", orNull(product)}, {"version", orNull(version)}, {"build", orNull(build)},
                 {"consoleUser", orNull(user)}, {"hardwareUuid", orNull(uuid)}},
                version.empty() ? kExitFailure : kExitOk);
}

int osInstallVersion(const Options &o) {
    if (o.positional.size() != 1) return usageError("os-install-version VOLUME");
    const std::string version = getOSXInstallVersion(o.positional[0].c_str());
    if (version.empty()) {
        std::fprintf(stderr, "vorkcomm: no system version recorded under %s\n", o.positional[0].c_str());
        return emit(o, "", {{"volume", o.positional[0]}, {"version", nullptr}}, kExitFailure);
    }
    return emit(o, version, {{"volume", o.positional[0]}, {"version", version}}, kExitOk);
}

int windowAdjust(const Options &o) {
    long long v[4] = {};
    bool ok = o.positional.size() == 4;
    for (size_t i = 0; ok && i < 4; ++i) ok = parseNumber(o.positional[i], INT32_MIN, INT32_MAX, v[i]);
    if (!ok) return usageError("window-adjust X Y WIDTH HEIGHT");
    int32_t x = static_cast<int32_t>(v[0]), y = static_cast<int32_t>(v[1]);
    int32_t width = static_cast<int32_t>(v[2]), height = static_cast<int32_t>(v[3]);
    const bool moved = adjustWindowCoordinates(&x, &y, &width, &height) != 0;
    const std::string frame = std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(width) + " " +
                              std::to_string(height);
    return emit(o, (moved ? "moved to " : "in view at ") + frame,
                {{"moved", moved}, {"x", static_cast<long long>(x)}, {"y", static_cast<long long>(y)},
                 {"width", static_cast<long long>(width)}, {"height", static_cast<long long>(height)}},
                kExitOk);
}

CommandRegistrar r1({"system-info", "", "operating-system version and build, console user, hardware UUID", systemInfo});
CommandRegistrar r2({"os-install-version", "VOLUME", "system version of the installation on a volume",
                     osInstallVersion});
CommandRegistrar r3({"window-adjust", "X Y WIDTH HEIGHT",
                     "a window frame kept on screen: moved to the primary display when it is off every display",
                     windowAdjust});

}  // namespace
}  // namespace vorkcomm
