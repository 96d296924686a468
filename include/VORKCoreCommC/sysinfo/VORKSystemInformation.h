/* The running system's version, product name and build, and the console user. */
#ifndef VORKCORECOMMC_SYSINFO_VORKSYSTEMINFORMATION_H
#define VORKCORECOMMC_SYSINFO_VORKSYSTEMINFORMATION_H

#include <memory>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/sysinfo/OperatingSystemVersionNotFound.h"
#include "VORKCoreCommC/sysinfo/VORKOperatingSystem.h"

namespace vork {

/** The running system's version, product name and build, and the console user. */
class VORK_EXPORT VORKSystemInformation {
public:
    /** A new instance (the class keeps no per-instance state). */
    static VORKSystemInformation systemInformation();

    /**
     * The running system, read once per process from the version tool's
     * output (version, product name and build) and kept. Raises
     * OperatingSystemVersionNotFound when a field is missing; nothing is kept
     * then and the next call tries again.
     */
    std::shared_ptr<const VORKOperatingSystem> currentOperatingSystem();

    /** The user logged in at the console, "" when there is none. */
    std::string currentlyLoggedInUsername();

    /**
     * The version tool's standard output ("/usr/bin/sw_vers" under the
     * library's root; on a system without the tool, the same lines built from
     * its os-release file).
     */
    std::string sw_versOutput();

    /**
     * The value of the first line of the tool output that, trimmed, starts
     * with "ProductVersion": the text between its first and second ":",
     * trimmed. Raises OperatingSystemVersionNotFound when no line starts with
     * the key, and a std::runtime_error named "NSRangeException" when that
     * line has no ":".
     */
    std::string getVersionStringFromString(const std::string &output);
    /** As getVersionStringFromString, for the line that starts with "ProductName". */
    std::string getProductNameFromString(const std::string &output);
    /** As getVersionStringFromString, for the line that starts with "BuildVersion". */
    std::string getBuildVersionFromString(const std::string &output);

    /** Forgets the kept system; holders of the old value keep theirs. */
    static void resetStaticVariables();
};

}  // namespace vork

#endif
