#pragma once

/// An exclusive lock between objects of this process and of others; released when the process ends.
/// The lock file is created when missing and never removed; only a regular file, and no link to
/// one, is accepted.
class XPFileLock {
 public:
  enum State {
    kHeld,
    kBusy,     // Held by another until the time-out.
    kNoLocks,  // Not supported by the file system: excludes nobody.
    kFailed,   // The lock file could not be opened or locked.
  };

  /// Waits for the lock, but not longer than `nTimeoutMs`. Whoever may use the file `pszModel` may
  /// use the lock: it gets that file's owner, group and permissions, as far as that is allowed.
  XPFileLock(const char* pszPath, const char* pszModel, unsigned long nTimeoutMs) noexcept;
  ~XPFileLock();
  XPFileLock(const XPFileLock&) = delete;
  XPFileLock& operator=(const XPFileLock&) = delete;

  State GetState() const noexcept { return m_state; }

 private:
  int m_handle = -1;
  State m_state = kFailed;
};

// What a lock asks of a platform layer.

/// Opens the lock file, or makes it; -1 when neither works, or what is there is no regular file.
int XPOpenLockFile(const char* pszPath, const char* pszModel) noexcept;

/// Tries for the lock: kHeld, kBusy when somebody else has it, kNoLocks or kFailed.
XPFileLock::State XPTryLock(int nHandle) noexcept;

/// Whether the lock file has been unlinked: a lock on it excludes nobody.
bool XPIsUnlinked(int nHandle) noexcept;

void XPUnlock(int nHandle) noexcept;
void XPCloseLockFile(int nHandle) noexcept;
