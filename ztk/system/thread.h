#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/system/mutex.h"

/// What the thread reports.
enum ZTKThreadResult : int {
  ZTK_THREAD_NO_ERROR = 0,
  ZTK_THREAD_NOT_NEW = 2,      ///< It was run, or paused, before.
  ZTK_THREAD_NOT_RUNNING = 3,  ///< It is not in the running state.
  ZTK_THREAD_MISC_ERROR = 5    ///< The system has no thread, or no memory, to give.
};

/// A thread: derive from it, override `Entry()`, call `Run()`.
///
/// It goes from new to running (`Run`), back and forth between running and paused (`XPSuspend`,
/// `XPResume`), and is ended when `Entry()` returns. Stopping and pausing are requests: `Entry()`
/// calls `CheckPoint()` where it can pause or end, and returns when that is false. A thread that
/// calls none is reported as paused but goes on.
///
/// The object is its creator's. Its destructor asks a running thread to stop and waits for it, but
/// by then the members of a subclass are gone: one whose `Entry()` uses its own calls `XPFree()` in
/// its destructor. `Entry()` may delete its object, if it touches it no more. Operations return a
/// `ZTKThreadResult`, and any thread may call them. In the colon-path library no thread is started.
///
/// The child of a fork has the calling thread alone. Every other that was alive is ended there:
/// nobody waits for it, and `Wait()` gives `ZTK_THREAD_NOT_RUNNING`. Its exit code and id stay.
class ZTK_API ZTKThread {
 public:
  enum State : int { STATE_NEW = 0, STATE_RUNNING = 1, STATE_PAUSED = 2, STATE_ENDED = 4 };

  ZTKThread() noexcept = default;
  virtual ~ZTKThread();
  ZTKThread(const ZTKThread&) = delete;
  ZTKThread& operator=(const ZTKThread&) = delete;

  /// Starts the thread, after `XPCreate` if need be. `ZTK_THREAD_NOT_NEW` unless it is new.
  int Run();
  /// Waits until `Entry()` has returned. `ZTK_THREAD_NOT_RUNNING` when the thread was never
  /// started, `ZTK_THREAD_MISC_ERROR` for the thread itself.
  int Wait() { return XPJoin(); }

  /// Makes the thread run again, or for the first time. One that has ended stays ended.
  int XPResume();
  /// Pauses the thread at its next check point. One that has ended stays ended.
  int XPSuspend();
  /// Keeps a priority for the application's own use; the system's threads have none.
  int XPSetPriority(unsigned int nPriority);
  /// Asks a running thread to stop at its next check point; the state does not change.
  /// `ZTK_THREAD_NOT_RUNNING` for any other.
  int XPKill();
  /// Sets the stack size in bytes before the start; 0: the usual. The system may raise it.
  int XPCreate(unsigned int nStackSize);
  /// Asks the thread to stop, in any state, and waits for its end. The thread itself only asks.
  void XPFree();
  /// For `Entry()`: sets the exit code, and lets every later check point ask to stop.
  void XPExit(unsigned long nExitCode);
  /// What `XPExit` was given last; 0 before.
  unsigned long GetExitCode() const { return XPGetExitCode(); }

  /// Do nothing: the object is its creator's.
  void AddRef() noexcept {}
  void Release() noexcept {}

  bool IsRunning() const;
  bool IsPaused() const;
  /// Running or paused.
  bool IsAlive() const;
  unsigned int GetPriority() const;
  /// The system's number of the thread; 0 before it is started. It stays after the end.
  int GetId() const;

  /// The system's number of the calling thread.
  static unsigned long XPGetCurrentId() noexcept;
  /// Names the calling thread in debuggers, in UTF-8; Linux keeps the first 15 bytes. False where
  /// threads have no names, and for ill-formed text or null.
  static bool XPSetCurrentName(const char* pszName) noexcept;

 protected:
  /// What the thread does. The base does nothing.
  virtual void Entry();

  /// For `Entry()`: waits while paused. False when it is to return; true for a thread never
  /// started.
  bool CheckPoint() { return XPCheckPoint(); }

 private:
  friend struct ZTKSystemLayout;
  struct ZTK_LOCAL System;

  State GetState() const;
  int ResumeInside();

  // Of the platform. Where they say "inside", the section is entered.
  int XPStart();           // Inside: starts the thread, or wakes it from its pause.
  void XPStop();           // Inside: lets check points ask to stop.
  void XPAwaitId() const;  // Inside: waits until a thread that was started has its id.
  bool XPCheckPoint();
  int XPJoin();
  unsigned long XPGetExitCode() const;
  void XPDestroy();

  mutable ZTKCriticalSection m_section;  // Guards what follows.
  State m_state = STATE_NEW;
  std::uint32_t m_nPriority = 0;
  std::int32_t m_nId = 0;
  System* m_pSystem = nullptr;
};
