/* The version of an operating-system installation on another volume. */
#ifndef VORKCORECOMMC_SYSINFO_OSXINSTALLERINFO_H
#define VORKCORECOMMC_SYSINFO_OSXINSTALLERINFO_H

#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

/** Reads the operating-system version of an installation on another volume. */
class VORK_EXPORT OSXInstallerInfo {
public:
    /**
     * The "ProductVersion" of the property list
     * \<root\>/System/Library/CoreServices/SystemVersion.plist; "" when the file
     * is missing or not a readable dictionary. A readable dictionary without
     * a text "ProductVersion" raises a std::runtime_error named
     * "NSInvalidArgumentException" (the absent text cannot be copied).
     */
    static std::string getOsxInstallVersion(const std::string &root);
};

}  // namespace vork

#endif
