// Server settings and conveniences.
#include "VORKCoreCommC/server.h"

#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "util/UrlHelpers.h"

using namespace vork;

const char *zelURLFromUserInput(const char *userInput) {
    return capi::guarded<const char *>(nullptr, [&]() -> const char * {
        auto input = capi::argument(userInput);
        if (!input) return nullptr;
        return capi::returnText(util::zelURLFromUserInput(*input));
    });
}
