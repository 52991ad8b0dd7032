#pragma once

#include <cstdint>

/// An exclusive lock between objects of this process and of others; released when the process ends.
/// The lock file is created when missing and never removed; only a regular file, and no link to
/// one, is accepted.
class ZTKFileLock {
 public:
  enum State {
    kHeld,
    kBusy,     // Held by another until the time-out.
    kNoLocks,  // Not supported by the file system: excludes nobody.
    kFailed,   // The lock file could not be opened or locked.
  };

  /// Waits for the lock, but not longer than `nTimeoutMs`. Whoever may use the file `pszModel` may
  /// use the lock: it gets that file's owner, group and permissions, as far as that is allowed.
  ZTKFileLock(const char* pszPath, const char* pszModel, unsigned long nTimeoutMs) noexcept;
  ~ZTKFileLock();
  ZTKFileLock(const ZTKFileLock&) = delete;
  ZTKFileLock& operator=(const ZTKFileLock&) = delete;

  State GetState() const noexcept { return m_state; }

 private:
  std::intptr_t m_handle = -1;
  State m_state = kFailed;
};

// What a lock asks of a platform layer.

/// Opens the lock file, or makes it; -1 when neither works, or what is there is no regular file.
std::intptr_t XPOpenLockFile(const char* pszPath, const char* pszModel) noexcept;

/// Tries for the lock: kHeld, kBusy when somebody else has it, kNoLocks or kFailed.
ZTKFileLock::State XPTryLock(std::intptr_t nHandle) noexcept;

/// Whether the lock file has been unlinked: a lock on it excludes nobody.
bool XPIsUnlinked(std::intptr_t nHandle) noexcept;

void XPUnlock(std::intptr_t nHandle) noexcept;
void XPCloseLockFile(std::intptr_t nHandle) noexcept;
