// URL helpers from the shell.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cstdio>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

int url(const Options &o) {
    if (o.positional.size() != 1) return usageError("server-url ADDRESS");
    const char *result = zelURLFromUserInput(o.positional[0].c_str());
    if (!result) {
        std::fprintf(stderr, "'%s' gives no URL\n", o.positional[0].c_str());
        return kExitFailure;
    }
    return emit(o, result, {{"url", std::string(result)}}, kExitOk);
}

CommandRegistrar r({"server-url", "ADDRESS", "the server URL the library makes of a typed address", url});

}  // namespace
}  // namespace vorkcomm
