#include "ztk/foundation/internal/lock_xp.h"

#include <pthread.h>

static_assert(sizeof(pthread_mutex_t) <= sizeof(XPLock));
static_assert(alignof(pthread_mutex_t) <= alignof(XPLock));

void XPLock::lock() noexcept { pthread_mutex_lock(reinterpret_cast<pthread_mutex_t*>(m_state)); }

void XPLock::unlock() noexcept {
  pthread_mutex_unlock(reinterpret_cast<pthread_mutex_t*>(m_state));
}
