#include "ztk/system/mutex.h"

#include <pthread.h>

#include <cerrno>
#include <new>

struct ZTKMutex::System {
  pthread_mutex_t mutex;
};

int ZTKMutex::XPCreate(const char* /*pszName*/) {
  XPClose();
  auto* const system = new (std::nothrow) System;
  if (!system) return ENOMEM;
  if (const int error = pthread_mutex_init(&system->mutex, nullptr); error != 0) {
    delete system;
    return error;
  }
  m_pSystem = system;
  return 0;
}

void ZTKMutex::XPClose() {
  if (!m_pSystem) return;
  if (IsLocked()) UnLock();
  pthread_mutex_destroy(&m_pSystem->mutex);
  delete m_pSystem;
  m_pSystem = nullptr;
  m_bLocked = 0;
}

int ZTKMutex::XPLock() noexcept { return pthread_mutex_lock(&m_pSystem->mutex); }

int ZTKMutex::XPUnLock() noexcept { return pthread_mutex_unlock(&m_pSystem->mutex); }
