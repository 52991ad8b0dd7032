#include "ztk/system/internal/wait_signal_xp.h"

#include <windows.h>

#include <algorithm>
#include <new>

#include "ztk/system/internal/clock_xp.h"

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

CONDITION_VARIABLE* In(unsigned char* pStorage) noexcept {
  return std::launder(reinterpret_cast<CONDITION_VARIABLE*>(pStorage));
}

}  // namespace

XPWaitSignal::XPWaitSignal() noexcept {
  static_assert(sizeof(CONDITION_VARIABLE) <= kSize);
  InitializeConditionVariable(new (static_cast<void*>(m_storage)) CONDITION_VARIABLE);
}

XPWaitSignal::~XPWaitSignal() = default;  // The system keeps nothing of one.

bool XPWaitSignal::Wait(XPLock& lock, std::int64_t nEndNs) noexcept {
  auto* const srw = reinterpret_cast<SRWLOCK*>(&lock);  // It is nothing else.
  DWORD timeout = INFINITE;
  if (nEndNs != kZTKNever) {
    const std::int64_t left = std::max<std::int64_t>(nEndNs - XPMonotonicNow(), 0);
    timeout = static_cast<DWORD>(std::min<std::int64_t>(left / kNsPerMs + 1, INFINITE - 1));
  }
  const bool isWoken = SleepConditionVariableSRW(In(m_storage), srw, timeout, 0) != 0;
  // The system's time-outs go by a coarser clock than ours.
  return isWoken || nEndNs == kZTKNever || XPMonotonicNow() < nEndNs;
}

void XPWaitSignal::Notify() noexcept { WakeConditionVariable(In(m_storage)); }
