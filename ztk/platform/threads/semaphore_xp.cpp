#include "ztk/platform/threads/semaphore_system.h"

#include <cerrno>
#include <new>

#include "ztk/platform/unix/timespec.h"
#include "ztk/system/internal/clock_xp.h"

ZTKSemaphore::System::Waiter::Waiter() noexcept {
  pthread_condattr_t steady;
  pthread_condattr_init(&steady);
  pthread_condattr_setclock(&steady, CLOCK_MONOTONIC);
  pthread_cond_init(&wakeUp, &steady);
  pthread_condattr_destroy(&steady);
}

ZTKSemaphore::System::Waiter::~Waiter() { pthread_cond_destroy(&wakeUp); }

ZTKSemaphore::System::System(int nInitial, int nMax) noexcept : m_nCount(nInitial), m_nMax(nMax) {
  pthread_mutex_init(&m_mutex, nullptr);
}

ZTKSemaphore::System::~System() { pthread_mutex_destroy(&m_mutex); }

int ZTKSemaphore::System::Post() noexcept {
  int result = ZTK_SYNC_NO_ERROR;
  pthread_mutex_lock(&m_mutex);
  if (Waiter* const first = m_pHead) {
    Remove(*first);
    first->isServed = true;
    // Before the mutex is given up: the waiter may be gone as soon as it can have it.
    pthread_cond_signal(&first->wakeUp);
  } else if (m_nCount < m_nMax) {
    ++m_nCount;
  } else {
    result = ZTK_SYNC_MISC_ERROR;
  }
  pthread_mutex_unlock(&m_mutex);
  return result;
}

void ZTKSemaphore::System::Enqueue(Waiter& waiter) noexcept {
  pthread_mutex_lock(&m_mutex);
  if (m_nCount > 0) {
    --m_nCount;
    waiter.isServed = true;
  } else {
    waiter.prev = m_pTail;
    (m_pTail ? m_pTail->next : m_pHead) = &waiter;
    m_pTail = &waiter;
  }
  pthread_mutex_unlock(&m_mutex);
}

bool ZTKSemaphore::System::Sleep(Waiter& waiter, unsigned long nTimeoutMs) noexcept {
  const bool isForever = nTimeoutMs == ZTK_WAIT_FOREVER;
  timespec deadline = {};
  if (!isForever && nTimeoutMs != 0) {
    deadline = XPToTimespec(ZTKAddTimes(XPMonotonicNow(), ZTKNanoseconds(nTimeoutMs)));
  }
  pthread_mutex_lock(&m_mutex);
  bool isTimeUp = nTimeoutMs == 0;
  while (!waiter.isServed && !isTimeUp) {
    if (isForever) {
      pthread_cond_wait(&waiter.wakeUp, &m_mutex);
    } else {
      isTimeUp = pthread_cond_timedwait(&waiter.wakeUp, &m_mutex, &deadline) == ETIMEDOUT;
    }
  }
  const bool isServed = waiter.isServed;
  pthread_mutex_unlock(&m_mutex);
  return isServed;
}

bool ZTKSemaphore::System::Withdraw(Waiter& waiter) noexcept {
  pthread_mutex_lock(&m_mutex);
  const bool isServed = waiter.isServed;
  if (!isServed) Remove(waiter);
  pthread_mutex_unlock(&m_mutex);
  return !isServed;
}

void ZTKSemaphore::System::Remove(Waiter& waiter) noexcept {
  (waiter.prev ? waiter.prev->next : m_pHead) = waiter.next;
  (waiter.next ? waiter.next->prev : m_pTail) = waiter.prev;
}

int ZTKSemaphore::XPCreate(int nInitial, int nMax) {
  XPClose();
  if (nMax < 1 || nInitial < 0 || nInitial > nMax) return ZTK_SYNC_MISC_ERROR;
  m_pHandle = new (std::nothrow) System(nInitial, nMax);
  return m_pHandle ? ZTK_SYNC_NO_ERROR : ZTK_SYNC_MISC_ERROR;
}

bool ZTKSemaphore::XPIsOk() const noexcept { return m_pHandle != nullptr; }

int ZTKSemaphore::XPWaitTimeout(unsigned long nTimeoutMs) {
  if (!m_pHandle) return ZTK_SYNC_MISC_ERROR;
  System::Waiter waiter;
  m_pHandle->Enqueue(waiter);
  if (m_pHandle->Sleep(waiter, nTimeoutMs)) return ZTK_SYNC_NO_ERROR;
  return m_pHandle->Withdraw(waiter) ? ZTK_SYNC_TIMEOUT : ZTK_SYNC_NO_ERROR;
}

int ZTKSemaphore::XPPost() { return m_pHandle ? m_pHandle->Post() : ZTK_SYNC_MISC_ERROR; }

void ZTKSemaphore::XPClose() {
  delete m_pHandle;
  m_pHandle = nullptr;
}
