#include "ztk/platform/threads/thread_system.h"

#include <new>

void ZTKThread::System::Run() {
  ZTKThread* const object = owner;
  // The starting thread is done with the object when it leaves the section, so that `Entry()` may
  // delete it.
  object->m_section.Enter();
  object->m_nId = static_cast<std::int32_t>(XPGetCurrentId());
  changed.Broadcast();
  object->m_section.Leave();

  object->Entry();

  if (!owner) {
    delete this;
    return;
  }
  object->m_section.Enter();
  object->m_state = STATE_ENDED;
  changed.Broadcast();
  object->m_section.Leave();
}

bool ZTKThread::System::Prepare(ZTKThread& thread) noexcept {
  if (!thread.m_pSystem) thread.m_pSystem = new (std::nothrow) System(thread);
  return thread.m_pSystem && thread.m_pSystem->changed.IsOk() && thread.m_section.IsOk();
}

int ZTKThread::XPCreate(unsigned int nStackSize) {
  m_section.Enter();
  const bool isOk = System::Prepare(*this);
  if (isOk && !m_pSystem->isStarted) m_pSystem->stackSize = nStackSize;
  m_section.Leave();
  return isOk ? ZTK_THREAD_NO_ERROR : ZTK_THREAD_MISC_ERROR;
}

int ZTKThread::XPStart() {
  if (!System::Prepare(*this)) return ZTK_THREAD_MISC_ERROR;
  System& system = *m_pSystem;
  if (system.isStarted) {
    system.changed.Broadcast();
    return ZTK_THREAD_NO_ERROR;
  }

  system.XPRemember();
  if (!XPCreateThread(system.native, system, system.stackSize)) return ZTK_THREAD_MISC_ERROR;
  system.isStarted = true;
  return ZTK_THREAD_NO_ERROR;
}

void ZTKThread::XPAwaitId() const {
  while (m_pSystem && m_pSystem->isStarted && m_nId == 0) m_pSystem->changed.XPWait();
}

void ZTKThread::XPStop() {
  m_pSystem->mustStop = true;
  m_pSystem->changed.Broadcast();
}

bool ZTKThread::XPCheckPoint() {
  m_section.Enter();
  bool goesOn = true;
  if (m_pSystem && m_pSystem->isStarted) {
    while (m_state == STATE_PAUSED && !m_pSystem->mustStop) m_pSystem->changed.XPWait();
    goesOn = !m_pSystem->mustStop;
  }
  m_section.Leave();
  return goesOn;
}

void ZTKThread::XPExit(unsigned long nExitCode) {
  m_section.Enter();
  if (m_pSystem) {
    m_pSystem->exitCode = nExitCode;
    XPStop();
  }
  m_section.Leave();
}

unsigned long ZTKThread::XPGetExitCode() const {
  m_section.Enter();
  const unsigned long exitCode = m_pSystem ? m_pSystem->exitCode : 0;
  m_section.Leave();
  return exitCode;
}

int ZTKThread::XPJoin() {
  if (System::XPAreOthersGone()) return ZTK_THREAD_NOT_RUNNING;
  int result = ZTK_THREAD_NO_ERROR;
  m_section.Enter();
  if (!m_pSystem || !m_pSystem->isStarted) {
    result = ZTK_THREAD_NOT_RUNNING;
  } else if (m_pSystem->IsCaller()) {
    result = ZTK_THREAD_MISC_ERROR;  // It would wait for itself.
  } else {
    while (m_state != STATE_ENDED) m_pSystem->changed.XPWait();
  }
  m_section.Leave();
  return result;
}

void ZTKThread::XPFree() {
  // One of them may be gone with the section.
  if (System::XPAreOthersGone()) return;
  m_section.Enter();
  const bool isStarted = m_pSystem && m_pSystem->isStarted;
  if (isStarted) XPStop();
  m_section.Leave();
  if (!isStarted || XPJoin() != ZTK_THREAD_NO_ERROR) return;

  // One caller takes the system's thread back. It has left `Entry()` and touches the object no
  // more once it is joined.
  m_section.Enter();
  const bool mustJoin = !m_pSystem->isJoined;
  m_pSystem->isJoined = true;
  m_section.Leave();
  if (mustJoin) XPJoinThread(m_pSystem->native);
}

void ZTKThread::XPDestroy() {
  if (m_pSystem && m_pSystem->IsCaller()) {
    // The thread deletes its own object. It takes the system side with it when it ends.
    XPDetachThread(m_pSystem->native);
    m_pSystem->owner = nullptr;
    return;
  }
  delete m_pSystem;
}
