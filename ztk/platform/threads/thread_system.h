#pragma once

#include "ztk/platform/threads/native_thread.h"
#include "ztk/system/condition.h"
#include "ztk/system/thread.h"

/// What the object and its thread share; under the section of the object.
struct ZTKThread::System final : NativeThreadMain {
  explicit System(ZTKThread& thread) noexcept : owner(&thread), changed(thread.m_section) {}
  ~System() { XPForget(); }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  /// Gives the thread its system side. False without memory. Inside the section.
  static bool Prepare(ZTKThread& thread) noexcept;
  void Run() override;
  /// The system gives what names a thread to another one once this one was joined.
  bool IsCaller() const noexcept { return isStarted && !isJoined && XPIsCaller(native); }

  // Of the layer: what has to be done to threads from outside, as in the child of a fork, is done
  // to those that are remembered: from before the first start to the end.
  void XPRemember() noexcept;
  void XPForget() noexcept;
  struct XPMemory;

  /// Of the layer: whether the system has ended every thread but the calling one, so that there is
  /// nobody left to wait for.
  static bool XPAreOthersGone() noexcept;

  ZTKThread* owner;      // Null when the object was deleted by its own thread.
  ZTKCondition changed;  // The state, the id or the wish to stop.
  NativeThread native = 0;
  unsigned int stackSize = 0;
  unsigned long exitCode = 0;
  bool isStarted = false;
  bool isJoined = false;
  bool mustStop = false;
  bool isRemembered = false;
  System* next = nullptr;  // Among those that are.
  System* prev = nullptr;
};
