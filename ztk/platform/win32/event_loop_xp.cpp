#include "ztk/system/internal/event_loop_xp.h"

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "ztk/system/internal/clock_xp.h"

// Headers of before 2018 do not know it.
#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kNsPerUnit = 100;  // Of the system's due times.

constinit std::int64_t s_due = kZTKNever;
constinit HANDLE s_alarm = nullptr;
// What the alarm is set to. While nobody else watches it, it is set when it is waited for: most
// timers are started and stopped in between.
constinit std::int64_t s_armedFor = kZTKNever;
// Whether the system took that. Where it did not, the loop sleeps no longer than until then;
// whoever else waits for the alarm has the delay to go by.
constinit bool s_isArmed = false;
constinit bool s_isWatched = false;
// Read by XPWakeUp() on other threads.
constinit std::atomic<HANDLE> s_wakeUp = nullptr;
constinit std::atomic<int> s_isWoken = 0;  // In place of s_wakeUp while the system has none.

HANDLE CreateAlarm() noexcept {
  constexpr DWORD kKind = CREATE_WAITABLE_TIMER_MANUAL_RESET;
  constexpr DWORD kAccess = TIMER_ALL_ACCESS;
  // Of half a millisecond, since Windows 10; the plain one goes by the ticks of the system, of 1 to
  // 16 ms.
  const HANDLE fine = CreateWaitableTimerExW(
      nullptr, nullptr, kKind | CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, kAccess);
  return fine != nullptr ? fine : CreateWaitableTimerExW(nullptr, nullptr, kKind, kAccess);
}

// Setting the time also takes back that the timer is signalled.
void Arm() noexcept {
  if (s_alarm == nullptr) return;
  s_armedFor = s_due;
  constexpr std::int64_t kYear = std::int64_t{365} * 24 * 3600 * 1'000'000'000;
  const std::int64_t now = XPMonotonicNow();
  const std::int64_t left = std::min(std::max<std::int64_t>(s_due - now, 0), 100 * kYear);
  LARGE_INTEGER due;
  // Relative times are negative; absolute ones follow the clock of the wall.
  due.QuadPart = -std::max<std::int64_t>((left + kNsPerUnit - 1) / kNsPerUnit, 1);
  s_isArmed = SetWaitableTimer(s_alarm, &due, 0, nullptr, nullptr, FALSE) != 0;
  if (s_due == kZTKNever) CancelWaitableTimer(s_alarm);  // That alone would leave it signalled.
}

DWORD Milliseconds(std::int64_t nUntilNs) noexcept {
  if (nUntilNs == kZTKNever) return INFINITE;
  const std::int64_t left = std::max<std::int64_t>(nUntilNs - XPMonotonicNow(), 0);
  return static_cast<DWORD>(std::min<std::int64_t>((left + kNsPerMs - 1) / kNsPerMs, INFINITE - 1));
}

}  // namespace

void XPStartAlarm() noexcept {}

void XPOpenAlarm() noexcept {
  if (s_wakeUp == nullptr) s_wakeUp = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (s_alarm != nullptr) return;
  s_alarm = CreateAlarm();
  if (s_isWatched) Arm();
}

std::intptr_t XPAlarmHandle() noexcept {
  if (!s_isWatched) {
    s_isWatched = true;
    Arm();
  }
  return s_alarm != nullptr ? reinterpret_cast<std::intptr_t>(s_alarm) : -1;
}

int XPAlarmFd() noexcept { return -1; }

void XPSetAlarm(std::int64_t nDueNs) noexcept {
  s_due = nDueNs;
  if (s_isWatched) Arm();
}

void XPConfirmAlarm() noexcept {
  if (s_isWatched && s_due > XPMonotonicNow()) Arm();
}

bool XPAwaitAlarm(std::int64_t nEndNs) noexcept {
  if (s_armedFor != s_due || !s_isArmed) Arm();
  // One that came too early would end every sleep until it is due.
  const bool isEarly =
      s_isArmed && s_due > XPMonotonicNow() && WaitForSingleObject(s_alarm, 0) == WAIT_OBJECT_0;
  if (isEarly) Arm();
  const std::int64_t end = s_isArmed ? nEndNs : std::min(nEndNs, s_due);
  const HANDLE wakeUp = s_wakeUp;
  if (wakeUp != nullptr) {
    const HANDLE awaited[] = {wakeUp, s_alarm};
    const DWORD count = s_isArmed ? 2 : 1;
    return WaitForMultipleObjects(count, awaited, FALSE, Milliseconds(end)) == WAIT_OBJECT_0;
  }
  // Without an event for it a wake-up is seen a little later.
  constexpr DWORD kSlice = 10;
  const DWORD slice = std::min(Milliseconds(end), kSlice);
  if (s_isArmed) {
    WaitForSingleObject(s_alarm, slice);
  } else {
    Sleep(slice);
  }
  return s_isWoken.load() != 0;
}

void XPWakeUp() noexcept {
  const HANDLE wakeUp = s_wakeUp;
  s_isWoken.store(1);
  if (wakeUp != nullptr) SetEvent(wakeUp);
}

void XPForgetWakeUps() noexcept {
  s_isWoken.store(0);
  const HANDLE wakeUp = s_wakeUp;
  if (wakeUp != nullptr) ResetEvent(wakeUp);
}
