#pragma once

#include <windows.h>

#include "ztk/foundation/string.h"

enum KnownFolder { kProfile, kRoamingAppData };

/// A folder of the current user, without a separator at its end; "" when it cannot be had. Made
/// when it is missing, if `bCreate`.
ZTKString GetKnownFolder(KnownFolder folder, bool bCreate) noexcept;

/// A function of one of the system's own libraries, which is loaded for good; null when there is
/// none.
FARPROC FindSystemFunction(const wchar_t* pszLibrary, const char* pszName) noexcept;

template <class Function>
Function* SystemFunction(const wchar_t* pszLibrary, const char* pszName) noexcept {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(FindSystemFunction(pszLibrary, pszName)));
}
