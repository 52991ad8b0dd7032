#pragma once

#include "ztk/export.h"
#include "ztk/system/sync_result.h"

/// A count that threads take from, waiting while there is nothing to take.
///
/// Waiting threads are served in the order in which they came: what is posted while they wait is
/// theirs, and no later thread can take it from them. Every operation returns a `ZTKSyncResult`. A
/// semaphore must outlive the calls of the threads that wait on it.
/// In the colon-path library no wait lasts, so a loop of waits spins.
class ZTK_API ZTKSemaphore {
 public:
  /// Starts with `nInitial`, 0 to `nMax`; `nMax` is at least 1. With other numbers, or without
  /// memory, the semaphore is not ok.
  ZTKSemaphore(int nInitial, int nMax);
  ~ZTKSemaphore() { XPClose(); }
  ZTKSemaphore(const ZTKSemaphore&) = delete;
  ZTKSemaphore& operator=(const ZTKSemaphore&) = delete;

  /// One that is not ok answers `ZTK_SYNC_MISC_ERROR` to everything.
  bool IsOk() const noexcept { return XPIsOk(); }

  /// Takes one, waiting for ever.
  int Wait();
  /// Takes one if there is one, else `ZTK_SYNC_BUSY`.
  int TryWait();

  /// Makes a fresh system object in place of the one there is. 0 for success.
  int XPCreate(int nInitial, int nMax);
  /// Takes one, waiting as long as `nTimeoutMs` milliseconds (`ZTK_WAIT_FOREVER` for ever), else
  /// `ZTK_SYNC_TIMEOUT`.
  int XPWaitTimeout(unsigned long nTimeoutMs);
  /// Adds one. At the maximum: `ZTK_SYNC_MISC_ERROR`, and nothing changes.
  int XPPost();
  void XPClose();

 private:
  friend class ZTKCondition;
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL System;

  bool XPIsOk() const noexcept;

  System* m_pHandle = nullptr;
};
