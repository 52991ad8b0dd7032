#pragma once

#include <cstddef>
#include <cstdint>

#include "ztk/foundation/internal/lock_xp.h"

/// Wakes the one thread that waits for it, asked of a platform layer. It lives inside the object
/// that uses it: it is not allocated, and cannot fail. A wait may also end for nothing.
class XPWaitSignal {
 public:
  XPWaitSignal() noexcept;
  ~XPWaitSignal();
  XPWaitSignal(const XPWaitSignal&) = delete;
  XPWaitSignal& operator=(const XPWaitSignal&) = delete;

  /// Waits with the lock unlocked, and locks it again. False once the time is `nEndNs`, of
  /// XPMonotonicNow(); kZTKNever is no end.
  bool Wait(XPLock& lock, std::int64_t nEndNs) noexcept;
  /// Inside the lock: the signal may be gone as soon as the waiting thread can have that.
  void Notify() noexcept;

 private:
  static constexpr size_t kSize = 48;  // The largest of any system.

  alignas(std::int64_t) unsigned char m_storage[kSize];
};
