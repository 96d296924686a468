#pragma once
#include <exception>
#include <string>

#include "VORKCoreCommC/base/Exception.h"

namespace vork {

// Description of any exception caught at a boundary.
std::string describeException(const std::exception_ptr &error);

}  // namespace vork
