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
