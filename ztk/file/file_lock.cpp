#include <chrono>
#include <thread>

#include "ztk/file/internal/file_lock_xp.h"

// The lock belongs to the open file, not to the process: it excludes this process's other objects
// as well, and is released with the last descriptor, however the process ends. The lock file stays:
// a lock on a file that has been unlinked meanwhile would exclude nobody.
ZTKFileLock::ZTKFileLock(const char* pszPath, const char* pszModel,
                         unsigned long nTimeoutMs) noexcept {
  using std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kPause(5);
  const auto end = steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
  for (;; std::this_thread::sleep_for(kPause)) {
    if (m_handle == -1) m_handle = XPOpenLockFile(pszPath, pszModel);
    m_state = m_handle == -1 ? kFailed : XPTryLock(m_handle);
    if (m_state == kHeld && XPIsUnlinked(m_handle)) {
      XPCloseLockFile(m_handle);
      m_handle = -1;
      m_state = kBusy;
    }
    if (m_state != kBusy || steady_clock::now() >= end) return;
  }
}

ZTKFileLock::~ZTKFileLock() {
  if (m_handle == -1) return;
  // Not only closed: a process that was forked meanwhile has the file open, too.
  if (m_state == kHeld) XPUnlock(m_handle);
  XPCloseLockFile(m_handle);
}
