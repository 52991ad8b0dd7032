#pragma once

#include <cstdint>

#include "ztk/export.h"

/// Names an installed timer of an event loop; 0 names none. A number is never reused.
using ZTKEventLoopTimer = std::uint64_t;

/// Called by an event loop when a timer is due, with what `InstallTimer` was given.
using ZTKEventLoopCallback = void (*)(ZTKEventLoopTimer nTimer, void* pUserData);

/// The loop that timers fire from, behind one waitable object that any other loop can watch.
///
/// A program without a loop calls `Run()`. One that has a loop (GLib, Qt, libuv, epoll) watches
/// `GetFd()` for reading and calls `Dispatch()` when it is readable; it never reads the descriptor.
/// There are no threads: timers fire inside `Dispatch()`, `Run()` and `RunFor()`, on their thread.
///
/// Times are nanoseconds of a steady clock. A timer never fires early. A repeating timer keeps its
/// phase: its expiries are the first one plus multiples of its interval, however late each was
/// served; missed ones are delivered as one. Timers fire in the order of their expiries, then of
/// their installation, and at most once in a dispatch; one that is installed during a dispatch
/// fires in the next one at the earliest, one with an interval of 0 in every one. A callback may
/// install and remove any timer, its own included, and may run the loop.
///
/// Without a timer the loop sleeps for good. With `kCoalesceFrom` timers or more expiries are
/// coalesced: a timer then has a slack of half a percent of its period, 1 ms at most, and a wake-up
/// may be late by the slack of those that are due first, so that it serves several.
///
/// Installing, removing and firing take O(log n). One thread at a time, but for `Quit()`. After a
/// fork the child has a loop of its own with the same timers, behind the same descriptor number; an
/// inherited poll set (epoll) still watches the parent's and has to be told anew.
class ZTK_API ZTKEventLoop {
 public:
  /// The number of timers from which on expiries are coalesced.
  static constexpr unsigned long kCoalesceFrom = 256;
  /// The slack of a timer is its period divided by `kSlackShare`, and `kMaxSlackNs` at most.
  static constexpr std::int64_t kSlackShare = 200;
  static constexpr std::int64_t kMaxSlackNs = 1'000'000;

  /// The only loop. Never destroyed: static objects may use it until the very end.
  static ZTKEventLoop& Main() noexcept;

  ZTKEventLoop(const ZTKEventLoop&) = delete;
  ZTKEventLoop& operator=(const ZTKEventLoop&) = delete;

  /// The descriptor that is readable while a timer is due. Owned, constant, closed on exec. -1 when
  /// the system has none left; a later call tries again, and `Run()` works without it.
  int GetFd() noexcept;

  /// The same on every platform: the descriptor, or a handle that is signalled. -1 without one.
  std::intptr_t GetWaitHandle() noexcept;

  /// How long a loop that watches neither may sleep before it calls `Dispatch()`, in nanoseconds: 0
  /// when a timer is due, -1 when none is installed. It holds until a timer is installed; where one
  /// was removed it may be sooner than what is left. Round it up where time-outs are coarser.
  std::int64_t GetNextDelay() const noexcept;

  /// Fires every timer that is due and returns how many fired. Never waits.
  unsigned long Dispatch();

  /// Serves the timers until `Quit()` is called; waits for that even when no timer runs.
  void Run();

  /// The same for a number of milliseconds at most; 0 dispatches once.
  void RunFor(unsigned long nMilliseconds);

  /// Ends the innermost `Run()` or `RunFor()` after the dispatch it is in; without one nothing
  /// happens. May be called from any thread and from signal handlers.
  void Quit() noexcept;

  /// Calls `pCallback` after `nDelayNs` and then every `nIntervalNs`, until it is removed. Negative
  /// times count as 0. 0 when out of memory or without a callback.
  ZTKEventLoopTimer InstallTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs,
                                 ZTKEventLoopCallback pCallback, void* pUserData) noexcept;

  /// False when there is none of that name (any more).
  bool RemoveTimer(ZTKEventLoopTimer nTimer) noexcept;

  unsigned long GetTimerCount() const noexcept;

  /// The time by the loop's clock, in nanoseconds.
  std::int64_t Now() const noexcept;

  /// Makes the loop read another clock, in nanoseconds that never decrease; null is its own. For
  /// tests that call `Dispatch()`: the descriptor is readable only for timers that were due when
  /// the loop last looked, and a waiting `Run()` does not see such a clock move. Only without
  /// timers.
  void SetClock(std::int64_t (*pClock)()) noexcept;

 private:
  struct ZTK_LOCAL State;
  explicit ZTKEventLoop(State& state) noexcept : m_state(state) {}
  unsigned long FireDueTimers();
  void RunUntil(std::int64_t nDeadline);

  State& m_state;
};
