#pragma once

// Marks what each of the three libraries shows to the others and to applications. Everything else is
// built with hidden visibility.

#if defined(_WIN32)
#define MW_DLL_EXPORT __declspec(dllexport)
#define MW_DLL_IMPORT __declspec(dllimport)
#else
#define MW_DLL_EXPORT __attribute__((visibility("default")))
#define MW_DLL_IMPORT __attribute__((visibility("default")))
#endif

#if defined(OS_BUILDING)
#define OS_API MW_DLL_EXPORT
#else
#define OS_API MW_DLL_IMPORT
#endif

#if defined(LIBMW_BUILDING)
#define LIBMW_API MW_DLL_EXPORT
#else
#define LIBMW_API MW_DLL_IMPORT
#endif

#if defined(MISC_BUILDING)
#define MISC_API MW_DLL_EXPORT
#else
#define MISC_API MW_DLL_IMPORT
#endif
