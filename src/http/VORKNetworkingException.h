#pragma once
// The failures a synchronous HTTP submission raises. Both carry the name
// "Networking Error" and the failure's description as the reason; the 416
// kind tells a caller that the requested byte range was refused, so a
// download can start again from the beginning.
#include <string>

#include "base/Exception.h"

namespace vork {

inline constexpr const char *kNetworkingErrorName = "Networking Error";

class VORK_EXPORT VORKNetworkingException : public Exception {
public:
    explicit VORKNetworkingException(std::string reason)
        : Exception(kNetworkingErrorName, std::move(reason)) {}
    VORKNetworkingException(std::string name, std::string reason)
        : Exception(std::move(name), std::move(reason)) {}
};

class VORK_EXPORT VORKNetworkingExceptionRangeNotSatisfiable : public VORKNetworkingException {
public:
    using VORKNetworkingException::VORKNetworkingException;
};

}  // namespace vork
