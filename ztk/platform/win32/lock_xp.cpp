#include "ztk/foundation/internal/lock_xp.h"

#include <windows.h>

static_assert(sizeof(SRWLOCK) <= sizeof(XPLock));
static_assert(alignof(SRWLOCK) <= alignof(XPLock));

void XPLock::lock() noexcept { AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(m_state)); }

void XPLock::unlock() noexcept { ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(m_state)); }
