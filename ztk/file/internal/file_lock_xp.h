#pragma once

/// A lock that keeps out whoever takes the same one, in this process or another; it dies with its
/// process. The lock file is created when it is missing and never removed; what is no plain file is
/// not taken for one, links included.
class XPFileLock {
 public:
  enum State {
    kHeld,
    kBusy,     // Somebody else had it all the time.
    kNoLocks,  // The file system knows none: nobody is kept out.
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

/// Opens the lock file, or makes it; -1 when neither works, or what is there is no plain file.
int XPOpenLockFile(const char* pszPath, const char* pszModel) noexcept;

/// Tries for the lock: kHeld, kBusy when somebody else has it, kNoLocks or kFailed.
XPFileLock::State XPTryLock(int nHandle) noexcept;

/// Whether the lock file has lost its name: a lock on it keeps out nobody.
bool XPIsUnlinked(int nHandle) noexcept;

void XPUnlock(int nHandle) noexcept;
void XPCloseLockFile(int nHandle) noexcept;
