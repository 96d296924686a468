#pragma once
// The library's one exception type: a name and a reason, as the agent's
// failure texts are built from them. description() is the reason.
#include <stdexcept>
#include <string>

#include "base/Export.h"

namespace vork {

class VORK_EXPORT Exception : public std::runtime_error {
public:
    Exception(std::string name, std::string reason)
        : std::runtime_error(reason), name_(std::move(name)), reason_(std::move(reason)) {}

    const std::string &name() const noexcept { return name_; }
    const std::string &reason() const noexcept { return reason_; }
    // The text a caller shows for the failure.
    const std::string &description() const noexcept { return reason_; }

private:
    std::string name_;
    std::string reason_;
};

// Description of any exception caught at a boundary.
std::string describeException(const std::exception_ptr &error);

}  // namespace vork
