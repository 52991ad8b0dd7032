#include "ztk/system/mutex.h"

#include <cerrno>

ZTKMutex::ZTKMutex(const char* pszName) { XPCreate(pszName); }

int ZTKMutex::Lock(unsigned long /*nTimeoutMs*/) {
  if (!m_pSystem) return ZTK_MUTEX_INVALID;
  switch (XPLock()) {
    case 0:
      m_bLocked.store(1, std::memory_order_relaxed);
      return ZTK_MUTEX_NO_ERROR;
    case EDEADLK:
      return ZTK_MUTEX_DEAD_LOCK;
    default:
      return ZTK_MUTEX_MISC_ERROR;
  }
}

int ZTKMutex::UnLock() {
  if (!m_pSystem) return ZTK_MUTEX_INVALID;
  // The flag is cleared while the mutex is still held: afterwards it is the next owner's. What is
  // not locked does not reach the system, for which unlocking it has no defined outcome.
  if (m_bLocked.exchange(0, std::memory_order_relaxed) == 0) return ZTK_MUTEX_UNLOCKED;
  const int error = XPUnLock();
  if (error == 0) return ZTK_MUTEX_NO_ERROR;
  m_bLocked = 1;
  return error == EPERM ? ZTK_MUTEX_UNLOCKED : ZTK_MUTEX_MISC_ERROR;
}
