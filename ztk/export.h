#pragma once

/// ZTK_API marks what the shared library exports; everything else stays hidden. ZTK_LOCAL marks
/// what an exported class keeps to itself: what is nested in it would be exported, too.
/// A program that links the static library gets ZTK_STATIC from the build system.
#if defined(ZTK_STATIC)
#define ZTK_API
#define ZTK_LOCAL
#else
#define ZTK_API __attribute__((visibility("default")))
#define ZTK_LOCAL __attribute__((visibility("hidden")))
#endif

/// Lets the compiler check the arguments of a printf-like function.
/// Positions count from 1, and a member function's hidden `this` is 1; `nArgs` is 0 for a va_list.
#define ZTK_PRINTF(nFormat, nArgs) __attribute__((format(printf, nFormat, nArgs)))
