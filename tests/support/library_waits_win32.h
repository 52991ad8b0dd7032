#pragma once

#include <windows.h>

/// Which threads sleep in the library: the system does not tell of every one why it sleeps.
namespace library_waits {

/// Looks at what the library waits for from now on.
void Watch();
bool IsWaiting(DWORD nThread);

}  // namespace library_waits
