#include "ztk/system/event_loop.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>

#include "ztk/system/internal/clock_xp.h"
#include "ztk/system/internal/event_loop_xp.h"
#include "ztk/system/internal/timer_queue.h"

namespace {

// The first expiry after `now` that is a whole number of intervals after `due`.
std::int64_t NextInPhase(std::int64_t due, std::int64_t interval, std::int64_t now) {
  if (interval == 0) return now;
  const std::int64_t next = ZTKAddTimes(due, interval);
  if (next > now) return next;
  return ZTKAddTimes(now - (now - due) % interval, interval);
}

// How late a timer may be served where expiries are coalesced.
std::uint32_t SlackOf(std::int64_t delay, std::int64_t interval) {
  const std::int64_t shorter = interval != 0 ? std::min(delay, interval) : delay;
  return static_cast<std::uint32_t>(
      std::min(shorter / ZTKEventLoop::kSlackShare, ZTKEventLoop::kMaxSlackNs));
}

}  // namespace

struct ZTKEventLoop::State {
  ZTKTimerQueue queue;
  std::int64_t (*clock)() = XPMonotonicNow;
  std::uint64_t round = 0;            // The number of dispatches begun so far.
  int dispatching = 0;                // How many of them are on the stack.
  int running = 0;                    // And how many runs.
  std::int64_t armedFor = kZTKNever;  // When the handle becomes, or became, signalled.
  // Set by Quit() on other threads and in signal handlers. No bool: not every processor can
  // exchange a single byte.
  std::atomic<int> quit = 0;

  void Set(std::int64_t due) noexcept;
  void ArmForNext(std::int64_t now) noexcept;
};

// --- The alarm --------------------------------------------------------------------------------

void ZTKEventLoop::State::Set(std::int64_t due) noexcept {
  armedFor = due;
  // The system knows nothing of the clock of a test: what is not due by now never is.
  if (clock != XPMonotonicNow) due = due <= clock() ? 0 : kZTKNever;
  XPSetAlarm(due);
}

void ZTKEventLoop::State::ArmForNext(std::int64_t now) noexcept {
  std::int64_t due = kZTKNever;
  if (queue.HasNext()) {
    due = queue.Count() >= kCoalesceFrom ? queue.NextDeadline() : queue.NextDue();
  }
  if (due != armedFor || armedFor <= now) Set(due);
}

int ZTKEventLoop::GetFd() noexcept {
  XPOpenAlarm();
  return XPAlarmFd();
}

std::intptr_t ZTKEventLoop::GetWaitHandle() noexcept {
  XPOpenAlarm();
  return XPAlarmHandle();
}

std::int64_t ZTKEventLoop::GetNextDelay() const noexcept {
  if (m_state.armedFor == kZTKNever) return -1;
  return std::max<std::int64_t>(m_state.armedFor - Now(), 0);
}

// --- The loop ---------------------------------------------------------------------------------

ZTKEventLoop& ZTKEventLoop::Main() noexcept {
  // In storage that no destructor touches: static objects stop their timers at the very end.
  alignas(State) static unsigned char stateStorage[sizeof(State)];
  alignas(ZTKEventLoop) static unsigned char loopStorage[sizeof(ZTKEventLoop)];
  static ZTKEventLoop& loop = *[] {
    XPStartAlarm();
    return new (loopStorage) ZTKEventLoop(*new (stateStorage) State);
  }();
  return loop;
}

unsigned long ZTKEventLoop::Dispatch() {
  const unsigned long fired = FireDueTimers();
  m_state.ArmForNext(Now());
  if (fired == 0) XPConfirmAlarm();
  return fired;
}

// Works on names and rounds alone: a callback may remove and install what it likes, and nothing is
// remembered across one but the number of this dispatch.
unsigned long ZTKEventLoop::FireDueTimers() {
  struct Dispatching {
    explicit Dispatching(State& s) : state(s) {
      ++state.dispatching;
      state.queue.RequeueDeferred();
    }
    ~Dispatching() {
      state.queue.RequeueDeferred();
      --state.dispatching;
    }
    State& state;
  };
  ZTKTimerQueue& queue = m_state.queue;
  const std::uint64_t round = ++m_state.round;
  const Dispatching scope(m_state);

  unsigned long fired = 0;
  std::int64_t now = Now();
  while (queue.HasNext()) {
    if (queue.NextDue() > now) {
      // What came due meanwhile is served too; that saves waking up once more for it.
      now = Now();
      if (queue.NextDue() > now) break;
    }
    ZTKTimerQueue::Timer& timer = queue.Next();
    if (timer.round >= round) {
      queue.DeferNext();
      continue;
    }
    const ZTKEventLoopTimer name = queue.NextName();
    const ZTKEventLoopCallback callback = timer.callback;
    void* const userData = timer.userData;
    timer.round = round;
    queue.PostponeNext(NextInPhase(queue.NextDue(), timer.interval, now));
    ++fired;
    callback(name, userData);
  }
  return fired;
}

void ZTKEventLoop::Run() { RunUntil(kZTKNever); }

void ZTKEventLoop::RunFor(unsigned long nMilliseconds) {
  RunUntil(ZTKAddTimes(XPMonotonicNow(), ZTKNanoseconds(nMilliseconds)));
}

void ZTKEventLoop::RunUntil(std::int64_t nDeadline) {
  // Quit() is for the innermost run: what it said to an outer one is kept for that, and what it
  // said while none was running is forgotten.
  struct Running {
    // In one step, as another thread may call Quit() meanwhile.
    explicit Running(State& s) : state(s), outerQuits(s.quit.exchange(0) != 0 && s.running > 0) {
      ++state.running;
      XPForgetWakeUps();
    }
    ~Running() {
      --state.running;
      state.quit = 0;
      XPForgetWakeUps();
      state.quit = outerQuits ? 1 : 0;
    }
    State& state;
    const bool outerQuits;
  };
  XPOpenAlarm();
  const Running scope(m_state);
  for (;;) {
    FireDueTimers();
    const std::int64_t now = Now();
    const bool over =
        m_state.quit != 0 || (nDeadline != kZTKNever && XPMonotonicNow() >= nDeadline);
    const bool moreDue = m_state.queue.HasNext() && m_state.queue.NextDue() <= now;
    if (over || !moreDue) m_state.ArmForNext(now);
    if (over) return;
    if (moreDue) continue;
    // The wake-up may be that of a Quit() on another thread that was heeded before it came.
    if (XPAwaitAlarm(nDeadline) && m_state.quit == 0) XPForgetWakeUps();
  }
}

void ZTKEventLoop::Quit() noexcept {
  // A run that begins to sleep after this looks at what has just been set before it does.
  m_state.quit = 1;
  XPWakeUp();
}

// --- Timers -----------------------------------------------------------------------------------

ZTKEventLoopTimer ZTKEventLoop::InstallTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs,
                                             ZTKEventLoopCallback pCallback,
                                             void* pUserData) noexcept {
  if (pCallback == nullptr) return 0;

  const std::int64_t delay = std::max<std::int64_t>(nDelayNs, 0);
  const std::int64_t interval = std::max<std::int64_t>(nIntervalNs, 0);
  const std::int64_t due = ZTKAddTimes(Now(), delay);
  const ZTKEventLoopTimer name = m_state.queue.Add({pCallback, pUserData, interval, m_state.round},
                                                   due, SlackOf(delay, interval));
  // During a dispatch the time set has usually passed, so that this costs nothing until its end.
  if (name != 0 && due < m_state.armedFor) m_state.Set(due);
  return name;
}

bool ZTKEventLoop::RemoveTimer(ZTKEventLoopTimer nTimer) noexcept {
  if (!m_state.queue.Remove(nTimer)) return false;

  // While other timers run the alarm stays: at most it wakes the program once for nothing.
  if (m_state.queue.Count() != 0 || m_state.dispatching != 0) return true;
  if (m_state.armedFor != kZTKNever) m_state.Set(kZTKNever);
  return true;
}

unsigned long ZTKEventLoop::GetTimerCount() const noexcept {
  return static_cast<unsigned long>(m_state.queue.Count());
}

std::int64_t ZTKEventLoop::Now() const noexcept { return m_state.clock(); }

void ZTKEventLoop::SetClock(std::int64_t (*pClock)()) noexcept {
  m_state.clock = pClock != nullptr ? pClock : XPMonotonicNow;
  m_state.Set(m_state.queue.HasNext() ? m_state.queue.NextDue() : kZTKNever);
}
