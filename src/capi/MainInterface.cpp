// Basic C functions: release scopes, the run loop, host address helpers
// and text conversion.
#include "VORKCoreCommC/basics.h"

#include "capi/Guard.h"
#include "capi/PumpRunLoop.h"
#include "capi/ReturnedText.h"
#include "platform/HostAddresses.h"
#include "util/IpAddress.h"

using namespace vork;

void VORKReleaseScopePush(void) { capi::guardedVoid([] { capi::pushScope(); }); }

void VORKReleaseScopePop(void) { capi::guardedVoid([] { capi::popScope(); }); }

unsigned long VORKReleaseScopeHeldCount(void) {
    return capi::guarded<unsigned long>(0, [] { return static_cast<unsigned long>(capi::heldCount()); });
}

void processRunLoop() {
    capi::guardedVoid([] { capi::pumpRunLoopOnce(); });
}

const char *currentIpAddress(void) {
    return capi::guarded<const char *>(capi::emptyText(), [] {
        std::string address = util::firstFourPartAddress(platform::hostAddresses().get()->addresses());
        return address.empty() ? capi::emptyText() : capi::returnText(std::string_view(address));
    });
}

unsigned char ipAddressInRange(const char *address, const char *rangeStart, const char *rangeEnd) {
    return capi::guarded<unsigned char>(0, [&] {
        return static_cast<unsigned char>(
            util::ipAddressInRange(capi::argument(address), capi::argument(rangeStart), capi::argument(rangeEnd)));
    });
}

std::optional<std::string> charPtrToNSString(const char *bytes) {
    return capi::guarded<std::optional<std::string>>(std::nullopt, [&] { return capi::argument(bytes); });
}

const char *NSStringToCharPtr(const std::optional<std::string> &text) {
    return capi::guarded<const char *>(nullptr, [&] { return capi::returnText(text); });
}
