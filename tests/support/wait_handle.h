#pragma once

#ifdef _WIN32
#include <windows.h>
#else
#include <poll.h>
#endif

#include <cstdint>

/// Waits until what a GetWaitHandle() gave is readable or signalled. False when the time ran out.
inline bool IsSignalled(std::intptr_t nHandle, int nTimeoutMs) {
#ifdef _WIN32
  // NOLINTNEXTLINE(performance-no-int-to-ptr): it was one.
  return WaitForSingleObject(reinterpret_cast<HANDLE>(nHandle), static_cast<DWORD>(nTimeoutMs)) ==
         WAIT_OBJECT_0;
#else
  pollfd watched = {static_cast<int>(nHandle), POLLIN, 0};
  return poll(&watched, 1, nTimeoutMs) == 1 && (watched.revents & POLLIN) != 0;
#endif
}
