#include "ztk/system/condition.h"

// No wait lasts here: the mutex is unlocked and locked again at once. So there is never a waiter to
// count, either.

int ZTKCondition::XPWait() {
  m_pMutex->UnLock();
  const int result = m_semaphore.Wait();
  m_pMutex->Lock(ZTK_WAIT_FOREVER);
  return result == ZTK_SYNC_NO_ERROR ? ZTK_SYNC_NO_ERROR : ZTK_SYNC_TIMEOUT;
}

int ZTKCondition::XPWaitTimeout(unsigned long /*nTimeoutMs*/) {
  m_pMutex->UnLock();
  m_pMutex->Lock(ZTK_WAIT_FOREVER);
  return ZTK_SYNC_TIMEOUT;
}
