/** \file
 * Export macros of libVORKCoreCommC. */
#ifndef VORKCORECOMMC_EXPORT_H
#define VORKCORECOMMC_EXPORT_H

/** Marks a class or symbol as exported from the shared library. */
#if defined(__GNUC__)
#define VORK_EXPORT __attribute__((visibility("default")))
#else
#define VORK_EXPORT
#endif

/** A function or variable exported under its plain C name. */
#ifdef __cplusplus
#define VORK_API extern "C" VORK_EXPORT
#else
#define VORK_API extern VORK_EXPORT
#endif

/** A function exported under its C++ (decorated) name, parameters included. */
#define VORK_API_CXX VORK_EXPORT

#endif
