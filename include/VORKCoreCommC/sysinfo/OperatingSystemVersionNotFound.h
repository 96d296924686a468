/* The failure raised when the version tool's output lacks a field. */
#ifndef VORKCORECOMMC_SYSINFO_OPERATINGSYSTEMVERSIONNOTFOUND_H
#define VORKCORECOMMC_SYSINFO_OPERATINGSYSTEMVERSIONNOTFOUND_H

#include <stdexcept>
#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

/** Carries a name (for example "Build Version Not Found") and a reason; what() is the reason. */
class VORK_EXPORT OperatingSystemVersionNotFound : public std::runtime_error {
public:
    /** The failure with its name and its reason (which is also what()). */
    OperatingSystemVersionNotFound(std::string name, std::string reason)
        : std::runtime_error(reason), name_(std::move(name)), reason_(std::move(reason)) {}

    /** The failure's name, for example "Build Version Not Found". */
    const std::string &name() const noexcept { return name_; }
    /** The reason, for example "Operating System Build version was not found". */
    const std::string &reason() const noexcept { return reason_; }

private:
    std::string name_;
    std::string reason_;
};

}  // namespace vork

#endif
