#pragma once

#include <atomic>

#include "ztk/export.h"
#include "ztk/system/sync_result.h"

/// What the mutex and the critical section report.
enum ZTKMutexResult : int {
  ZTK_MUTEX_NO_ERROR = 0,
  ZTK_MUTEX_INVALID = 1,    ///< It has no system object.
  ZTK_MUTEX_DEAD_LOCK = 2,  ///< The system saw that the caller would wait for itself.
  ZTK_MUTEX_UNLOCKED = 4,   ///< Not locked, or not by the caller where the system can tell.
  ZTK_MUTEX_MISC_ERROR = 5  ///< Any other refusal of the system.
};

/// A lock that one thread at a time holds.
///
/// Not recursive: a thread that locks it twice waits for ever (or gets `ZTK_MUTEX_DEAD_LOCK` where
/// the system notices). Without an owner: a thread that unlocks what another one holds takes it
/// away from it. Operations return a `ZTKMutexResult`, except where they say otherwise; without
/// memory for the system's object that is `ZTK_MUTEX_INVALID`.
class ZTK_API ZTKMutex {
 public:
  /// The name is not used; null will do.
  explicit ZTKMutex(const char* pszName);
  ~ZTKMutex() { XPClose(); }
  ZTKMutex(const ZTKMutex&) = delete;
  ZTKMutex& operator=(const ZTKMutex&) = delete;

  /// Blocks until the mutex is acquired, however short the time-out.
  int Lock(unsigned long nTimeoutMs);
  int UnLock();

  bool IsLocked() const noexcept { return m_bLocked.load(std::memory_order_relaxed) != 0; }
  /// Whether there is a system object.
  bool IsOk() const noexcept { return m_pSystem != nullptr; }

  /// Makes a fresh, unlocked system object. Returns the system's error number, 0 for success.
  int XPCreate(const char* pszName);
  /// Unlocks the mutex if it is locked, by whichever thread, and gives the system object back.
  void XPClose();

 private:
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL System;

  // One call of the system each; its error number, 0 for success.
  int XPLock() noexcept;
  int XPUnLock() noexcept;

  std::atomic<int> m_bLocked{0};
  System* m_pSystem = nullptr;
};

/// A mutex that is entered and left.
class ZTK_API ZTKCriticalSection : public ZTKMutex {
 public:
  ZTKCriticalSection() : ZTKMutex(nullptr) {}
  /// Waits for ever.
  int Enter() { return Lock(ZTK_WAIT_FOREVER); }
  int Leave() { return UnLock(); }
};

/// Lets the standard's guards hold a mutex or a critical section:
///
///     ZTKLockable lockable(mutex);
///     const std::lock_guard guard(lockable);
///
/// One for each guard. Nothing is thrown: what `GetResult` says was not locked is not unlocked.
class ZTK_API ZTKLockable {
 public:
  explicit ZTKLockable(ZTKMutex& mutex) noexcept : m_mutex(mutex) {}
  void lock() { m_nResult = m_mutex.Lock(ZTK_WAIT_FOREVER); }
  void unlock() {
    if (m_nResult == ZTK_MUTEX_NO_ERROR) m_mutex.UnLock();
  }
  /// Of the last `lock()`.
  int GetResult() const noexcept { return m_nResult; }

 private:
  ZTKMutex& m_mutex;
  int m_nResult = ZTK_MUTEX_INVALID;
};
