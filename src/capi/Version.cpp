// The library's version, fixed when the library is built.
#include "VORKCoreCommC/basics.h"

#ifndef VORK_VERSION_TEXT
#error "VORK_VERSION_TEXT must name the project version"
#endif

const char *VORKCoreCommCVersion(void) { return VORK_VERSION_TEXT; }
