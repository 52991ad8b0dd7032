#pragma once

/// A lock that is ready from the start and to the very end of the process: it is made of zeros,
/// needs no memory, cannot fail, and is never destroyed. Not recursive. For `std::lock_guard`; not
/// installed, nothing for applications. (`std::mutex` is none of that where the system's threads
/// are not POSIX's.)
class XPLock {
 public:
  constexpr XPLock() noexcept = default;
  XPLock(const XPLock&) = delete;
  XPLock& operator=(const XPLock&) = delete;

  void lock() noexcept;
  void unlock() noexcept;

 private:
  void* m_state[6] = {};  // The system's lock, of which one without a holder is zeros.
};
