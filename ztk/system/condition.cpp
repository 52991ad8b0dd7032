#include "ztk/system/condition.h"

#include <limits>

ZTKCondition::ZTKCondition(ZTKMutex& mutex)
    : m_guard(nullptr), m_pMutex(&mutex), m_semaphore(0, std::numeric_limits<int>::max()) {}

ZTKCondition::~ZTKCondition() {
  m_semaphore.XPClose();
  m_guard.XPClose();
}

int ZTKCondition::Signal() {
  m_guard.Lock(ZTK_WAIT_FOREVER);
  const int result = m_nWaiters > 0 ? Wake() : ZTK_SYNC_NO_ERROR;
  m_guard.UnLock();
  return result;
}

int ZTKCondition::Broadcast() {
  m_guard.Lock(ZTK_WAIT_FOREVER);
  int result = ZTK_SYNC_NO_ERROR;
  while (m_nWaiters > 0 && result == ZTK_SYNC_NO_ERROR) result = Wake();
  m_guard.UnLock();
  return result;
}

int ZTKCondition::Wake() {
  if (m_semaphore.XPPost() != ZTK_SYNC_NO_ERROR) return ZTK_SYNC_TIMEOUT;
  --m_nWaiters;
  return ZTK_SYNC_NO_ERROR;
}
