#pragma once

#include "ztk/export.h"
#include "ztk/system/sync_result.h"

/// A count that threads decrement, waiting while it is 0.
///
/// Waiting threads are served in the order in which they came: a post goes to the first of them,
/// and no later thread can overtake it. Every operation returns a `ZTKSyncResult`. A semaphore must
/// outlive the calls of the threads that wait on it. In the colon-path library no wait lasts, so a
/// loop of waits spins.
class ZTK_API ZTKSemaphore {
 public:
  /// Starts with `nInitial`, 0 to `nMax`, which is at least 1. Else, or without memory, it is not
  /// ok.
  ZTKSemaphore(int nInitial, int nMax);
  ~ZTKSemaphore() { XPClose(); }
  ZTKSemaphore(const ZTKSemaphore&) = delete;
  ZTKSemaphore& operator=(const ZTKSemaphore&) = delete;

  /// One that is not ok answers `ZTK_SYNC_MISC_ERROR` to everything.
  bool IsOk() const noexcept { return XPIsOk(); }

  /// Decrements the count, waiting for ever.
  int Wait();
  /// Decrements the count if it is not 0, else `ZTK_SYNC_BUSY`.
  int TryWait();

  /// Makes a fresh system object in place of the one there is. 0 for success.
  int XPCreate(int nInitial, int nMax);
  /// Decrements the count, waiting up to `nTimeoutMs` milliseconds (`ZTK_WAIT_FOREVER` for ever),
  /// else `ZTK_SYNC_TIMEOUT`.
  int XPWaitTimeout(unsigned long nTimeoutMs);
  /// Increments the count. At the maximum: `ZTK_SYNC_MISC_ERROR`, and nothing changes.
  int XPPost();
  void XPClose();

 private:
  friend class ZTKCondition;
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL System;

  bool XPIsOk() const noexcept;

  System* m_pHandle = nullptr;
};
