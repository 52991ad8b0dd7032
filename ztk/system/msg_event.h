#pragma once

#include "ztk/export.h"
#include "ztk/system/sync_result.h"

/// A signal that lets one waiting thread through and then resets itself.
///
/// A signal that nobody waits for is kept for the first thread that does; further ones before that
/// add nothing. It can be used from its construction on. It must outlive the calls of the threads
/// that wait for it.
/// In the colon-path library no wait lasts, so a loop of waits spins.
class ZTK_API CZTKMsgEvent {
 public:
  CZTKMsgEvent();
  ~CZTKMsgEvent() { XPClose(); }
  CZTKMsgEvent(const CZTKMsgEvent&) = delete;
  CZTKMsgEvent& operator=(const CZTKMsgEvent&) = delete;

  /// Makes the system object if there is none, as after `XPClose`. 0 for success.
  int XPCreate();
  /// Waits for the signal, as long as `nTimeoutMs` milliseconds (`ZTK_WAIT_FOREVER` for ever).
  /// Returns a `ZTKSyncResult`: `ZTK_SYNC_TIMEOUT` when the time is up.
  int XPWait(unsigned long nTimeoutMs);
  /// False when there is no system object.
  bool XPSignal();
  void XPClose();

 private:
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL System;

  System* m_pHandle = nullptr;
};
