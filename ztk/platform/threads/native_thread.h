#pragma once

#include <cstddef>
#include <cstdint>

// What a system's own threads are asked for.

/// A thread as its system knows it. It is joined or detached once; then it is gone.
using NativeThread = std::uintptr_t;

/// What a thread runs.
class NativeThreadMain {
 public:
  /// May delete the object.
  virtual void Run() = 0;

 protected:
  ~NativeThreadMain() = default;
};

/// Starts a thread with a stack of `nStackSize` bytes, or of the least that the system accepts; 0
/// is the system's usual size. False when there is no thread to be had.
bool XPCreateThread(NativeThread& thread, NativeThreadMain& main, size_t nStackSize) noexcept;

/// Whether the calling thread is the one.
bool XPIsCaller(NativeThread thread) noexcept;

/// Waits until its `Run()` has returned.
void XPJoinThread(NativeThread thread) noexcept;

/// For the thread itself: nobody will join it.
void XPDetachThread(NativeThread thread) noexcept;
