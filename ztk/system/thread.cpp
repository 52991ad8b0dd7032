#include "ztk/system/thread.h"

ZTKThread::~ZTKThread() {
  XPFree();
  XPDestroy();
}

void ZTKThread::Entry() {}

int ZTKThread::Run() {
  m_section.Enter();
  const int result = m_state == STATE_NEW ? ResumeInside() : int{ZTK_THREAD_NOT_NEW};
  m_section.Leave();
  return result;
}

int ZTKThread::XPResume() {
  m_section.Enter();
  const int result = ResumeInside();
  m_section.Leave();
  return result;
}

int ZTKThread::ResumeInside() {
  if (m_state == STATE_ENDED) return ZTK_THREAD_NO_ERROR;
  const int result = XPStart();
  if (result == ZTK_THREAD_NO_ERROR) m_state = STATE_RUNNING;
  return result;
}

int ZTKThread::XPSuspend() {
  m_section.Enter();
  if (m_state != STATE_ENDED) m_state = STATE_PAUSED;
  m_section.Leave();
  return ZTK_THREAD_NO_ERROR;
}

int ZTKThread::XPSetPriority(unsigned int nPriority) {
  m_section.Enter();
  m_nPriority = nPriority;
  return m_section.Leave();
}

int ZTKThread::XPKill() {
  m_section.Enter();
  const bool isRunning = m_state == STATE_RUNNING;
  if (isRunning) XPStop();
  m_section.Leave();
  return isRunning ? ZTK_THREAD_NO_ERROR : ZTK_THREAD_NOT_RUNNING;
}

bool ZTKThread::IsRunning() const { return GetState() == STATE_RUNNING; }

bool ZTKThread::IsPaused() const { return GetState() == STATE_PAUSED; }

bool ZTKThread::IsAlive() const {
  const State state = GetState();
  return state == STATE_RUNNING || state == STATE_PAUSED;
}

ZTKThread::State ZTKThread::GetState() const {
  m_section.Enter();
  const State state = m_state;
  m_section.Leave();
  return state;
}

unsigned int ZTKThread::GetPriority() const {
  m_section.Enter();
  const unsigned int priority = m_nPriority;
  m_section.Leave();
  return priority;
}

int ZTKThread::GetId() const {
  m_section.Enter();
  XPAwaitId();
  const int id = m_nId;
  m_section.Leave();
  return id;
}
