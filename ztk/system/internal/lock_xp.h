#pragma once

// What a wait queue is made of, asked of a platform layer. Both live inside the objects that use
// them: neither is allocated, and neither can fail.

#include <cstddef>
#include <cstdint>

/// What the system's largest lock or signal needs.
inline constexpr size_t kXPLockSize = 64;
inline constexpr size_t kXPLockAlignment = 8;

/// A lock for sections of a few instructions; the thread that locked it unlocks it.
class XPLock {
 public:
  XPLock() noexcept;
  ~XPLock();
  XPLock(const XPLock&) = delete;
  XPLock& operator=(const XPLock&) = delete;

  void Lock() noexcept;
  void Unlock() noexcept;

 private:
  friend class XPSignal;

  alignas(kXPLockAlignment) unsigned char m_storage[kXPLockSize];
};

/// Wakes the one thread that waits for it. A wait may also end for nothing.
class XPSignal {
 public:
  XPSignal() noexcept;
  ~XPSignal();
  XPSignal(const XPSignal&) = delete;
  XPSignal& operator=(const XPSignal&) = delete;

  /// Waits with the lock unlocked, and locks it again. False once the time is `nEndNs`, of
  /// XPMonotonicNow(); kZTKNever is no end.
  bool Wait(XPLock& lock, std::int64_t nEndNs) noexcept;
  /// Inside the lock: the signal may be gone as soon as the waiting thread can have that.
  void Notify() noexcept;

 private:
  alignas(kXPLockAlignment) unsigned char m_storage[kXPLockSize];
};
