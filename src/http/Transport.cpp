#include "http/Transport.h"

#include "http/curl/CurlTransport.h"

namespace vork::http {

platform::ServiceSlot<Transport> &transport() {
    // Never destroyed: connections may be cancelled during exit.
    static auto *slot = new platform::ServiceSlot<Transport>(
        []() -> std::shared_ptr<Transport> { return std::make_shared<CurlTransport>(); });
    return *slot;
}

}  // namespace vork::http
