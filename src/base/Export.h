#pragma once
// The mark of the library's classes and functions that the shared library
// exports (namespace vork, listed by the generated version script). Internal
// code uses this header; only the C interface (src/capi/) includes the
// public headers, whose export.h spells the same macro identically.
#ifndef VORK_EXPORT
#define VORK_EXPORT __attribute__((visibility("default")))
#endif
