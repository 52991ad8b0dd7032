#include "ztk/system/internal/wait_queue.h"

#include "ztk/system/internal/clock_xp.h"
#include "ztk/system/sync_result.h"

bool ZTKWaitQueue::Post() noexcept {
  bool isPosted = true;
  m_lock.lock();
  if (Waiter* const first = m_pHead) {
    Remove(*first);
    first->m_isServed = true;
    first->m_wakeUp.Notify();
  } else if (m_nCount < m_nMax) {
    ++m_nCount;
  } else {
    isPosted = false;
  }
  m_lock.unlock();
  return isPosted;
}

bool ZTKWaitQueue::Consume() noexcept {
  m_lock.lock();
  const bool isServed = m_nCount > 0;
  if (isServed) --m_nCount;
  m_lock.unlock();
  return isServed;
}

void ZTKWaitQueue::Enqueue(Waiter& waiter) noexcept {
  m_lock.lock();
  if (m_nCount > 0) {
    --m_nCount;
    waiter.m_isServed = true;
  } else {
    waiter.m_pPrev = m_pTail;
    (m_pTail ? m_pTail->m_pNext : m_pHead) = &waiter;
    m_pTail = &waiter;
  }
  m_lock.unlock();
}

bool ZTKWaitQueue::Sleep(Waiter& waiter, unsigned long nTimeoutMs) noexcept {
  std::int64_t end = kZTKNever;
  if (nTimeoutMs != ZTK_WAIT_FOREVER && nTimeoutMs != 0) {
    end = ZTKAddTimes(XPMonotonicNow(), ZTKNanoseconds(nTimeoutMs));
  }
  m_lock.lock();
  bool isTimeUp = nTimeoutMs == 0;
  while (!waiter.m_isServed && !isTimeUp) isTimeUp = !waiter.m_wakeUp.Wait(m_lock, end);
  const bool isServed = waiter.m_isServed;
  m_lock.unlock();
  return isServed;
}

bool ZTKWaitQueue::Withdraw(Waiter& waiter) noexcept {
  m_lock.lock();
  const bool isServed = waiter.m_isServed;
  if (!isServed) Remove(waiter);
  m_lock.unlock();
  return !isServed;
}

void ZTKWaitQueue::Remove(Waiter& waiter) noexcept {
  (waiter.m_pPrev ? waiter.m_pPrev->m_pNext : m_pHead) = waiter.m_pNext;
  (waiter.m_pNext ? waiter.m_pNext->m_pPrev : m_pTail) = waiter.m_pPrev;
}
