#include "ztk/system/condition.h"

#include "ztk/platform/threads/semaphore_system.h"

int ZTKCondition::XPWait() { return XPWaitTimeout(ZTK_WAIT_FOREVER); }

int ZTKCondition::XPWaitTimeout(unsigned long nTimeoutMs) {
  // Without a mutex there would be nothing that keeps a signal from coming too early.
  if (!m_pMutex->IsOk() || !IsOk()) return ZTK_SYNC_TIMEOUT;

  ZTKWaitQueue& queue = *m_semaphore.m_pHandle;
  ZTKWaitQueue::Waiter waiter;
  m_guard.Lock(ZTK_WAIT_FOREVER);
  ++m_nWaiters;
  queue.Enqueue(waiter);
  m_guard.UnLock();

  m_pMutex->UnLock();
  bool isSignalled = queue.Sleep(waiter, nTimeoutMs);
  if (!isSignalled) {
    // A signal may have come after the time was up; then it is ours.
    m_guard.Lock(ZTK_WAIT_FOREVER);
    isSignalled = !queue.Withdraw(waiter);
    if (!isSignalled) --m_nWaiters;
    m_guard.UnLock();
  }
  m_pMutex->Lock(ZTK_WAIT_FOREVER);
  return isSignalled ? ZTK_SYNC_NO_ERROR : ZTK_SYNC_TIMEOUT;
}
