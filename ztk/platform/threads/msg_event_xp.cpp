#include "ztk/system/msg_event.h"

#include <new>

#include "ztk/system/semaphore.h"

// A semaphore that counts to one: set or not.
struct CZTKMsgEvent::System {
  ZTKSemaphore signal{0, 1};
};

int CZTKMsgEvent::XPCreate() {
  if (m_pHandle) return ZTK_SYNC_NO_ERROR;
  auto* const system = new (std::nothrow) System;
  if (!system) return ZTK_SYNC_MISC_ERROR;
  if (!system->signal.IsOk()) {
    delete system;
    return ZTK_SYNC_MISC_ERROR;
  }
  m_pHandle = system;
  return ZTK_SYNC_NO_ERROR;
}

int CZTKMsgEvent::XPWait(unsigned long nTimeoutMs) {
  return m_pHandle ? m_pHandle->signal.XPWaitTimeout(nTimeoutMs) : int{ZTK_SYNC_MISC_ERROR};
}

bool CZTKMsgEvent::XPSignal() {
  if (!m_pHandle) return false;
  m_pHandle->signal.XPPost();  // Refused when it is set already, which is as good.
  return true;
}

void CZTKMsgEvent::XPClose() {
  delete m_pHandle;
  m_pHandle = nullptr;
}
