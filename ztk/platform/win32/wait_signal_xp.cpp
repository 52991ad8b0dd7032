#include "ztk/system/internal/wait_signal_xp.h"

#include <windows.h>

#include <algorithm>
#include <new>

#include "ztk/system/internal/clock_xp.h"

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

template <class Object>
Object* In(unsigned char* pStorage) noexcept {
  static_assert(sizeof(Object) <= kXPWaitSize && alignof(Object) <= kXPWaitAlignment);
  return std::launder(reinterpret_cast<Object*>(pStorage));
}

}  // namespace

XPWaitLock::XPWaitLock() noexcept {
  InitializeSRWLock(new (static_cast<void*>(m_storage)) SRWLOCK);
}

XPWaitLock::~XPWaitLock() = default;  // The system keeps nothing of one.

void XPWaitLock::Lock() noexcept { AcquireSRWLockExclusive(In<SRWLOCK>(m_storage)); }

void XPWaitLock::Unlock() noexcept { ReleaseSRWLockExclusive(In<SRWLOCK>(m_storage)); }

XPWaitSignal::XPWaitSignal() noexcept {
  InitializeConditionVariable(new (static_cast<void*>(m_storage)) CONDITION_VARIABLE);
}

XPWaitSignal::~XPWaitSignal() = default;

bool XPWaitSignal::Wait(XPWaitLock& lock, std::int64_t nEndNs) noexcept {
  auto* const condition = In<CONDITION_VARIABLE>(m_storage);
  auto* const srw = In<SRWLOCK>(lock.m_storage);
  DWORD timeout = INFINITE;
  if (nEndNs != kZTKNever) {
    const std::int64_t left = std::max<std::int64_t>(nEndNs - XPMonotonicNow(), 0);
    timeout = static_cast<DWORD>(std::min<std::int64_t>(left / kNsPerMs + 1, INFINITE - 1));
  }
  if (SleepConditionVariableSRW(condition, srw, timeout, 0) != 0 || nEndNs == kZTKNever) {
    return true;
  }
  // The system's time-outs go by a coarser clock than ours.
  return XPMonotonicNow() < nEndNs;
}

void XPWaitSignal::Notify() noexcept { WakeConditionVariable(In<CONDITION_VARIABLE>(m_storage)); }
