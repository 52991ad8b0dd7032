#include "ztk/system/internal/wait_signal_xp.h"

#include <pthread.h>

#include <cerrno>
#include <new>

#include "ztk/platform/unix/timespec.h"
#include "ztk/system/internal/clock_xp.h"

namespace {

template <class Object>
Object* In(unsigned char* pStorage) noexcept {
  static_assert(sizeof(Object) <= kXPWaitSize && alignof(Object) <= kXPWaitAlignment);
  return std::launder(reinterpret_cast<Object*>(pStorage));
}

}  // namespace

XPWaitLock::XPWaitLock() noexcept {
  auto* const mutex = new (static_cast<void*>(m_storage)) pthread_mutex_t;
  pthread_mutex_init(mutex, nullptr);
}

XPWaitLock::~XPWaitLock() { pthread_mutex_destroy(In<pthread_mutex_t>(m_storage)); }

void XPWaitLock::Lock() noexcept { pthread_mutex_lock(In<pthread_mutex_t>(m_storage)); }

void XPWaitLock::Unlock() noexcept { pthread_mutex_unlock(In<pthread_mutex_t>(m_storage)); }

XPWaitSignal::XPWaitSignal() noexcept {
  auto* const condition = new (static_cast<void*>(m_storage)) pthread_cond_t;
  pthread_condattr_t steady;
  pthread_condattr_init(&steady);
  pthread_condattr_setclock(&steady, CLOCK_MONOTONIC);
  pthread_cond_init(condition, &steady);
  pthread_condattr_destroy(&steady);
}

XPWaitSignal::~XPWaitSignal() { pthread_cond_destroy(In<pthread_cond_t>(m_storage)); }

bool XPWaitSignal::Wait(XPWaitLock& lock, std::int64_t nEndNs) noexcept {
  auto* const condition = In<pthread_cond_t>(m_storage);
  auto* const mutex = In<pthread_mutex_t>(lock.m_storage);
  if (nEndNs == kZTKNever) {
    pthread_cond_wait(condition, mutex);
    return true;
  }
  const timespec end = XPToTimespec(nEndNs);
  return pthread_cond_timedwait(condition, mutex, &end) != ETIMEDOUT;
}

void XPWaitSignal::Notify() noexcept { pthread_cond_signal(In<pthread_cond_t>(m_storage)); }
