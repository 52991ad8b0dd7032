#pragma once

/// ZTK_API marks what the shared library exports; everything else stays hidden. ZTK_LOCAL marks
/// what an exported class keeps to itself: what is nested in it would be exported, too.
/// A program that links the static library gets ZTK_STATIC from the build system. The library's own
/// sources get ZTK_BUILDING.
#if defined(ZTK_STATIC)
#define ZTK_API
#define ZTK_LOCAL
#elif defined(_WIN32)
#if defined(ZTK_BUILDING)
#define ZTK_API __declspec(dllexport)
#else
#define ZTK_API __declspec(dllimport)
#endif
#define ZTK_LOCAL
#else
#define ZTK_API __attribute__((visibility("default")))
#define ZTK_LOCAL __attribute__((visibility("hidden")))
#endif

/// Says that the library holds an instantiation of a class template. A DLL exports none of its
/// inline operations: there every program has its own.
#if defined(_WIN32)
#define ZTK_EXTERN_TEMPLATE(name) static_assert(true)
#else
#define ZTK_EXTERN_TEMPLATE(name) extern template class name
#endif

/// Lets the compiler check the arguments of a printf-like function.
/// Positions count from 1, and a member function's hidden `this` is 1; `nArgs` is 0 for a va_list.
#if defined(__MINGW32__) && !defined(__clang__)
// The formats of C++, whatever the C library of the system takes.
#define ZTK_PRINTF(nFormat, nArgs) __attribute__((format(gnu_printf, nFormat, nArgs)))
#elif defined(__GNUC__)
#define ZTK_PRINTF(nFormat, nArgs) __attribute__((format(printf, nFormat, nArgs)))
#else
#define ZTK_PRINTF(nFormat, nArgs)
#endif
