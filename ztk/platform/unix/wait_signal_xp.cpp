#include "ztk/system/internal/wait_signal_xp.h"

#include <pthread.h>

#include <cerrno>
#include <new>

#include "ztk/platform/unix/timespec.h"
#include "ztk/system/internal/clock_xp.h"

namespace {

pthread_cond_t* In(unsigned char* pStorage) noexcept {
  return std::launder(reinterpret_cast<pthread_cond_t*>(pStorage));
}

}  // namespace

XPWaitSignal::XPWaitSignal() noexcept {
  static_assert(sizeof(pthread_cond_t) <= kSize &&
                alignof(pthread_cond_t) <= alignof(std::int64_t));
  auto* const condition = new (static_cast<void*>(m_storage)) pthread_cond_t;
  pthread_condattr_t steady;
  pthread_condattr_init(&steady);
  pthread_condattr_setclock(&steady, CLOCK_MONOTONIC);
  pthread_cond_init(condition, &steady);
  pthread_condattr_destroy(&steady);
}

XPWaitSignal::~XPWaitSignal() { pthread_cond_destroy(In(m_storage)); }

bool XPWaitSignal::Wait(XPLock& lock, std::int64_t nEndNs) noexcept {
  pthread_cond_t* const condition = In(m_storage);
  auto* const mutex = reinterpret_cast<pthread_mutex_t*>(&lock);  // It is nothing else.
  if (nEndNs == kZTKNever) {
    pthread_cond_wait(condition, mutex);
    return true;
  }
  const timespec end = XPToTimespec(nEndNs);
  return pthread_cond_timedwait(condition, mutex, &end) != ETIMEDOUT;
}

void XPWaitSignal::Notify() noexcept { pthread_cond_signal(In(m_storage)); }
