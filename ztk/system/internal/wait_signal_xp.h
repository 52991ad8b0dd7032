#pragma once

// What a wait queue is made of, asked of a platform layer. Both live inside the objects that use
// them: neither is allocated, and neither can fail.

#include <cstddef>
#include <cstdint>

/// What the system's largest lock or signal needs.
inline constexpr size_t kXPWaitSize = 64;
inline constexpr size_t kXPWaitAlignment = 8;

/// A lock for sections of a few instructions; the thread that locked it unlocks it.
class XPWaitLock {
 public:
  XPWaitLock() noexcept;
  ~XPWaitLock();
  XPWaitLock(const XPWaitLock&) = delete;
  XPWaitLock& operator=(const XPWaitLock&) = delete;

  void Lock() noexcept;
  void Unlock() noexcept;

 private:
  friend class XPWaitSignal;

  alignas(kXPWaitAlignment) unsigned char m_storage[kXPWaitSize];
};

/// Wakes the one thread that waits for it. A wait may also end for nothing.
class XPWaitSignal {
 public:
  XPWaitSignal() noexcept;
  ~XPWaitSignal();
  XPWaitSignal(const XPWaitSignal&) = delete;
  XPWaitSignal& operator=(const XPWaitSignal&) = delete;

  /// Waits with the lock unlocked, and locks it again. False once the time is `nEndNs`, of
  /// XPMonotonicNow(); kZTKNever is no end.
  bool Wait(XPWaitLock& lock, std::int64_t nEndNs) noexcept;
  /// Inside the lock: the signal may be gone as soon as the waiting thread can have that.
  void Notify() noexcept;

 private:
  alignas(kXPWaitAlignment) unsigned char m_storage[kXPWaitSize];
};
