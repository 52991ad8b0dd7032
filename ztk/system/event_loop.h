#pragma once

#include <cstdint>

#include "ztk/export.h"

/// Names an installed timer of an event loop; 0 names none. A number is never reused.
using ZTKEventLoopTimer = std::uint64_t;

/// Called by an event loop when a timer is due, with what `InstallTimer` was given.
using ZTKEventLoopCallback = void (*)(ZTKEventLoopTimer nTimer, void* pUserData);

/// The loop that timers fire from, behind one waitable object that any other loop can watch.
///
/// A program without a loop calls `Run()`. A program that has one (GLib, Qt, libuv, epoll) watches
/// `GetFd()` for reading and calls `Dispatch()` when it is readable; nothing else is needed, and
/// the descriptor itself is never read. The library makes no threads: timers fire inside
/// `Dispatch()`, `Run()` and `RunFor()`, on the thread that called them.
///
/// Times are nanoseconds of a steady clock that knows no daylight saving and no clock changes. A
/// timer never fires early. A repeating timer keeps its phase: its expiries are the first one plus
/// multiples of its interval, however late each was served. Expiries that a busy program missed are
/// delivered as one. Timers fire in the order of their expiries, and of their installation when
/// those are equal. A timer fires at most once in a dispatch; one that is installed during a
/// dispatch fires in the next one at the earliest, and one with an interval of 0 fires in every
/// dispatch. A callback may install and remove any timer, its own included, and may run the loop.
///
/// Without a timer the loop sleeps for good. Every timer is served as exactly as the system can,
/// until there are many: with `kCoalesceFrom` timers or more, expiries are coalesced. A timer then
/// has a slack of half a percent of its period, 1 ms at most, and a wake-up may be late by the
/// slack of those that are due first, so that it serves several.
///
/// Installing and removing cost a logarithm of the number of timers, and so does firing one. One
/// thread at a time, but for `Quit()`. After a fork the child has a loop of its own with the same
/// timers, behind the same descriptor number; a poll set that it inherited (epoll) still watches
/// the parent's descriptor and has to be told anew.
class ZTK_API ZTKEventLoop {
 public:
  /// The number of timers from which on expiries are coalesced.
  static constexpr unsigned long kCoalesceFrom = 256;
  /// The slack of a timer is its period divided by `kSlackShare`, and `kMaxSlackNs` at most.
  static constexpr std::int64_t kSlackShare = 200;
  static constexpr std::int64_t kMaxSlackNs = 1'000'000;

  /// The only loop. It is never destroyed, so that static objects may use it until the very end.
  static ZTKEventLoop& Main() noexcept;

  ZTKEventLoop(const ZTKEventLoop&) = delete;
  ZTKEventLoop& operator=(const ZTKEventLoop&) = delete;

  /// The descriptor that is readable while a timer is due. It belongs to the loop, stays the same,
  /// and is closed on exec. -1 when the system has none left; a later call tries again, and `Run()`
  /// works without it.
  int GetFd() noexcept;

  /// The same for every system: its handle of what is signalled while a timer is due, which is the
  /// descriptor where that is one. -1 when the system has none left.
  std::intptr_t GetWaitHandle() noexcept;

  /// How long a loop that watches neither may sleep before it calls `Dispatch()`, in nanoseconds: 0
  /// when a timer is due, -1 when none is installed. It holds until a timer is installed; where one
  /// was removed it may be sooner than what is left. Round it up where time-outs are coarser.
  std::int64_t GetNextDelay() const noexcept;

  /// Fires every timer that is due and returns how many fired. Never waits.
  unsigned long Dispatch();

  /// Serves the timers until `Quit()` is called; waits for that even when no timer runs.
  void Run();

  /// Serves the timers for a number of milliseconds or until `Quit()` is called. 0 dispatches once.
  void RunFor(unsigned long nMilliseconds);

  /// Ends the innermost `Run()` or `RunFor()` after the dispatch it is in, and does nothing when
  /// none is running. May be called from any thread and from signal handlers.
  void Quit() noexcept;

  /// Calls `pCallback` after `nDelayNs` and then every `nIntervalNs`, until it is removed. Negative
  /// times count as 0. 0 when out of memory or without a callback.
  ZTKEventLoopTimer InstallTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs,
                                 ZTKEventLoopCallback pCallback, void* pUserData) noexcept;

  /// Removes a timer; false when there is none of that name (any more).
  bool RemoveTimer(ZTKEventLoopTimer nTimer) noexcept;

  /// The number of installed timers.
  unsigned long GetTimerCount() const noexcept;

  /// The time by the loop's clock, in nanoseconds.
  std::int64_t Now() const noexcept;

  /// Makes the loop read another clock, in nanoseconds that never decrease, or its own again for
  /// null. This is for tests that turn the clock themselves and call `Dispatch()`: the descriptor
  /// is readable only for timers that were due when the loop last looked, and `Run()` does not see
  /// such a clock move while it waits. Call it while no timer is installed.
  void SetClock(std::int64_t (*pClock)()) noexcept;

 private:
  struct ZTK_LOCAL State;
  explicit ZTKEventLoop(State& state) noexcept : m_state(state) {}
  unsigned long FireDueTimers();
  void RunUntil(std::int64_t nDeadline);

  State& m_state;
};
