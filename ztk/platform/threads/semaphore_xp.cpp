#include "ztk/platform/threads/semaphore_system.h"

#include <new>

int ZTKSemaphore::XPCreate(int nInitial, int nMax) {
  XPClose();
  if (nMax < 1 || nInitial < 0 || nInitial > nMax) return ZTK_SYNC_MISC_ERROR;
  m_pHandle = new (std::nothrow) System(nInitial, nMax);
  return m_pHandle ? ZTK_SYNC_NO_ERROR : ZTK_SYNC_MISC_ERROR;
}

bool ZTKSemaphore::XPIsOk() const noexcept { return m_pHandle != nullptr; }

int ZTKSemaphore::XPWaitTimeout(unsigned long nTimeoutMs) {
  if (!m_pHandle) return ZTK_SYNC_MISC_ERROR;
  // Without a waiter, whose signal costs the system more calls than all the rest.
  if (m_pHandle->Consume()) return ZTK_SYNC_NO_ERROR;
  if (nTimeoutMs == 0) return ZTK_SYNC_TIMEOUT;
  ZTKWaitQueue::Waiter waiter;
  m_pHandle->Enqueue(waiter);
  if (m_pHandle->Sleep(waiter, nTimeoutMs)) return ZTK_SYNC_NO_ERROR;
  return m_pHandle->Withdraw(waiter) ? ZTK_SYNC_TIMEOUT : ZTK_SYNC_NO_ERROR;
}

int ZTKSemaphore::XPPost() {
  return m_pHandle && m_pHandle->Post() ? ZTK_SYNC_NO_ERROR : ZTK_SYNC_MISC_ERROR;
}

void ZTKSemaphore::XPClose() {
  delete m_pHandle;
  m_pHandle = nullptr;
}
