#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/system/event_loop.h"
#include "ztk/system/tick_count.h"

/// Calls its own `Notify()` after a number of milliseconds, once or again and again.
///
/// Derive from it and override `Notify()`. It is called by the application's main loop, which is
/// `ZTKEventLoop::Main()` or watches its descriptor, on that loop's thread; start and stop timers
/// there too. `Notify()` may start, stop and delete any timer, its own included. See `ZTKEventLoop`
/// for exactness, order and missed expiries.
///
/// Every start takes a new id: 1, 2, 3, ... in the order of starting, over all timers of the
/// process. A one-shot timer is stopped before its `Notify()` is called, which may start it again.
/// An override of `Stop()` calls the base's. Deriving classes that need their members in `Notify()`
/// need nothing special: a timer is stopped by its destructor at the latest.
class ZTK_API ZTKTimer {
 public:
  ZTKTimer() noexcept = default;
  /// Stops the timer (overrides of `Stop()` are gone by then).
  virtual ~ZTKTimer();
  ZTKTimer(const ZTKTimer&) = delete;
  ZTKTimer& operator=(const ZTKTimer&) = delete;

  /// Starts the timer, and stops it first when it is running. True when it runs. The first expiry
  /// comes after `nMilliseconds`; the period is their low 32 bits, 0 being every turn of the loop.
  virtual bool Start(unsigned long nMilliseconds, int bOneShot);
  /// Stops the timer; nothing happens when it is not running.
  virtual void Stop();
  /// The timer is due. Does nothing here.
  virtual void Notify();
  virtual bool IsRunning() const;

  /// The id of the running timer; 0 when it is not running.
  std::uint32_t GetId() const noexcept { return m_nId; }
  /// The period in milliseconds, as last started.
  std::uint32_t GetInterval() const noexcept { return m_nMilliseconds; }
  bool IsOneShot() const noexcept { return m_bOneShot != 0; }

  /// What happens when a timer is due: a one-shot timer is stopped, then the timer is notified.
  /// A null timer and the id of no running timer do nothing.
  static void TimerProc(ZTKTimer* pTimer);
  static void TimerProc(unsigned long nId);

  /// The id that the next start takes. After 2^32 - 1 starts the ids begin anew: the start that
  /// would take 0, and one whose id is still taken by a running timer, fail.
  static std::uint32_t s_uInitTime;

 protected:
  /// Makes the loop call `ZTKProcessTimer` with this timer, first after `nMilliseconds` and then at
  /// the stored period. Returns the id it was given. Out of memory: no calls come.
  std::uint32_t XPSetTimer(unsigned long nId, unsigned long nMilliseconds);
  /// Ends the calls. Nothing happens when there are none.
  void XPKillTimer(unsigned long nId);

 private:
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL XPRecord;

  std::uint32_t m_nMilliseconds = 0;
  std::uint32_t m_nId = 0;
  int m_bOneShot = 0;
  XPRecord* m_pRecord = nullptr;  // Owned; null when the timer is not running.
};

/// The event loop's callback; `pUserData` is the timer. Nothing happens when it is null.
ZTK_API void ZTKProcessTimer(ZTKEventLoopTimer nTimer, void* pUserData);
