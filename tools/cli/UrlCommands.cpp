// URL helpers from the shell.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cstdio>

#include "Command.h"

namespace vorkcomm {
namespace {

int url(const Options &o) {
    if (o.positional.size() != 1) {
        std::fprintf(stderr, "usage: vorkcomm server-url ADDRESS\n");
        return kExitUsage;
    }
    const char *result = zelURLFromUserInput(o.positional[0].c_str());
    if (!result) {
        std::fprintf(stderr, "'%s' gives no URL\n", o.positional[0].c_str());
        return kExitFailure;
    }
    std::printf("%s\n", result);
    return kExitOk;
}

CommandRegistrar r({"server-url", "ADDRESS", "the server URL the library makes of a typed address", url});

}  // namespace
}  // namespace vorkcomm
