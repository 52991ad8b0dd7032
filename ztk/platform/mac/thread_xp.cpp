#include "ztk/system/thread.h"

// The system starts no threads. A thread object keeps its state as if one ran, but `Entry()` is
// never called, so nothing ends, either.

int ZTKThread::XPCreate(unsigned int /*nStackSize*/) {
  m_section.Enter();
  m_section.Leave();
  return ZTK_THREAD_NO_ERROR;
}

int ZTKThread::XPStart() { return ZTK_THREAD_NO_ERROR; }

void ZTKThread::XPAwaitId() const {}

void ZTKThread::XPStop() {}

bool ZTKThread::XPCheckPoint() { return true; }

void ZTKThread::XPExit(unsigned long /*nExitCode*/) {}

unsigned long ZTKThread::XPGetExitCode() const { return 0; }

// No thread ends: there is nothing to join.
int ZTKThread::XPJoin() { return ZTK_THREAD_NOT_RUNNING; }

void ZTKThread::XPFree() {}

void ZTKThread::XPDestroy() {}

unsigned long ZTKThread::XPGetCurrentId() noexcept { return 0; }

bool ZTKThread::XPSetCurrentName(const char* /*pszName*/) noexcept { return false; }
