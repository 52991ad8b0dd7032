#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/system/mutex.h"
#include "ztk/system/semaphore.h"

/// Threads that hold a mutex wait here, without it, until another thread signals.
///
/// A waiting thread counts as such before the mutex is unlocked, so no signal is lost between the
/// two, and signals wake the threads in the order in which they came. As with any condition, check
/// in a loop what was waited for. Times are milliseconds on a clock that nobody sets.
///
/// The mutex is the caller's and outlives the condition. A condition must not be destroyed while a
/// thread is inside one of its waits, signalled or not.
/// In the colon-path library no wait lasts, so a loop of waits spins.
class ZTK_API ZTKCondition {
 public:
  explicit ZTKCondition(ZTKMutex& mutex);
  ~ZTKCondition();
  ZTKCondition(const ZTKCondition&) = delete;
  ZTKCondition& operator=(const ZTKCondition&) = delete;

  bool IsOk() const noexcept { return m_guard.IsOk() && m_semaphore.IsOk(); }

  /// Waits for a signal, with the mutex unlocked meanwhile and locked again after. The caller has
  /// locked it once. `ZTK_SYNC_NO_ERROR` when signalled; `ZTK_SYNC_TIMEOUT` at once for a mutex
  /// that is not ok.
  int XPWait();
  /// The same, for as long as `nTimeoutMs`; `ZTK_SYNC_TIMEOUT` when the time is up.
  int XPWaitTimeout(unsigned long nTimeoutMs);

  /// Wakes the thread that waits longest. Without one nothing happens, and nothing is kept.
  int Signal();
  /// Wakes every waiting thread.
  int Broadcast();

 private:
  friend struct ZTKSystemLayout;

  // Wakes one waiting thread. The guard is locked.
  int Wake();

  std::int32_t m_nWaiters = 0;  // Under the guard.
  ZTKMutex m_guard;
  ZTKMutex* m_pMutex;
  ZTKSemaphore m_semaphore;
};
