#pragma once
/** \file
 * The library's one exception type: a name and a reason, as the agent's
 * failure texts are built from them. description() is the reason.
 */
#include <stdexcept>
#include <string>

#include "VORKCoreCommC/export.h"

namespace vork {

/// A failure with a name and a reason.
class VORK_EXPORT Exception : public std::runtime_error {
public:
    /// An exception with that name and reason.
    Exception(std::string name, std::string reason)
        : std::runtime_error(reason), name_(std::move(name)), reason_(std::move(reason)) {}

    /// The failure's name ("Networking Error").
    const std::string &name() const noexcept { return name_; }
    /// Why it failed.
    const std::string &reason() const noexcept { return reason_; }
    /// The text a caller shows for the failure.
    const std::string &description() const noexcept { return reason_; }

private:
    std::string name_;
    std::string reason_;
};

}  // namespace vork
