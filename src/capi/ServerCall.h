#pragma once
// What the server calls' C functions share: the process's server session
// and the one way a call's failure becomes text.
#include <memory>
#include <string>

#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "zel/ZelInterface.h"

namespace vork::capi {

// The session g_ZelInterface points to, created on first use.
std::shared_ptr<ZelInterface> sharedZelInterface();

// Runs a call object's execute on the shared session and answers its XML as
// library-owned text. A failure outside the exchange (while the request is
// built, for example a machine whose hardware UUID cannot be read) answers
// the status-1999 message too: nothing leaves the function, never NULL.
template <class Call, class Setup>
const char *runServerCall(Setup &&setup) noexcept {
    return guardedOr<const char *>(
        [&]() -> const char * {
            Call call;
            call.setZelInterface(sharedZelInterface());
            setup(call);
            return returnText(std::string_view(call.execute()));
        },
        [](const std::string &description) -> const char * {
            return returnText(std::string_view(ZelInterface::failureMessageData(description)));
        });
}

}  // namespace vork::capi
