/* The task runner: runs a command-line tool and returns what it printed. */
#ifndef VORKCORECOMMC_SYSINFO_VORKTASK_H
#define VORKCORECOMMC_SYSINFO_VORKTASK_H

#include <string>
#include <vector>

#include "VORKCoreCommC/export.h"

namespace vork {

/** Runs system tools for the library's disk and system-information classes. */
class VORK_EXPORT VORKTask {
public:
    /**
     * Runs the tool at toolPath (used as given: no shell, no search of PATH)
     * with args as its arguments, standard input and error inherited, and
     * waits until it exits. Returns everything it wrote to its standard
     * output, decoded as UTF-8 (invalid sequences become U+FFFD); "" when it
     * printed nothing or could not be started (that case is logged). The exit
     * status is not examined. Output is read while the tool runs, so a tool
     * that prints a lot never blocks.
     */
    static std::string runTask(const std::string &toolPath, const std::vector<std::string> &args);
};

}  // namespace vork

#endif
