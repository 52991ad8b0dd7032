#include "ztk/system/event_loop.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <limits>
#include <new>

#include "ztk/system/internal/timer_queue.h"

namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kNsPerMs = 1'000'000;

std::int64_t SystemClock() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * kNsPerSecond + now.tv_nsec;
}

std::int64_t SaturatingAdd(std::int64_t a, std::int64_t b) {
  return a > kNever - b ? kNever : a + b;  // Neither is negative.
}

timespec ToTimespec(std::int64_t nanoseconds) {
  timespec time = {};
  // Where seconds have 32 bits, a time beyond them is as good as their end.
  time.tv_sec = static_cast<time_t>(
      std::min<std::int64_t>(nanoseconds / kNsPerSecond, std::numeric_limits<time_t>::max()));
  time.tv_nsec = static_cast<long>(nanoseconds % kNsPerSecond);
  return time;
}

// The first expiry after `now` that is a whole number of intervals after `due`.
std::int64_t NextInPhase(std::int64_t due, std::int64_t interval, std::int64_t now) {
  if (interval == 0) return now;
  const std::int64_t next = SaturatingAdd(due, interval);
  if (next > now) return next;
  return SaturatingAdd(now - (now - due) % interval, interval);
}

// How late a timer may be served in a crowd.
std::uint32_t SlackOf(std::int64_t delay, std::int64_t interval) {
  const std::int64_t shorter = interval != 0 ? std::min(delay, interval) : delay;
  return static_cast<std::uint32_t>(
      std::min(shorter / ZTKEventLoop::kCrowdShare, ZTKEventLoop::kCrowdSlackNs));
}

}  // namespace

struct ZTKEventLoop::State {
  ZTKTimerQueue queue;
  std::int64_t (*clock)() = SystemClock;
  std::uint64_t round = 0;         // The number of dispatches begun so far.
  int dispatching = 0;             // How many of them are on the stack.
  int running = 0;                 // And how many runs.
  std::int64_t armedFor = kNever;  // When the descriptor becomes, or became, readable.

  // Read by Quit() on other threads and in signal handlers. No bool: not every processor can
  // exchange a single byte.
  std::atomic<int> timerFd = -1;
  std::atomic<int> wakeFd = -1;
  std::atomic<int> quit = 0;
  sem_t wakeUp;  // In place of wakeFd while the system has no descriptor for that.

  State() noexcept { sem_init(&wakeUp, 0, 0); }
  void Set(std::int64_t due) noexcept;
  void ArmNotAfter(std::int64_t due) noexcept;
  void ArmForNext(std::int64_t now) noexcept;
  void Wait(std::int64_t deadline) noexcept;
  void WaitWithoutDescriptor(std::int64_t end) noexcept;
  void ForgetQuit() noexcept;
  void DrainWakeUps() noexcept;
  void OpenDescriptors() noexcept;
  void ReplaceDescriptorsAfterFork() noexcept;
};

// --- The descriptor ---------------------------------------------------------------------------

// Setting the time also takes back that the descriptor is readable, so that it is never read.
void ZTKEventLoop::State::Set(std::int64_t due) noexcept {
  armedFor = due;
  if (timerFd < 0) return;

  itimerspec setting = {};  // All zero: never.
  if (clock != SystemClock) {
    if (due <= clock()) setting.it_value.tv_nsec = 1;
  } else if (due != kNever) {
    setting.it_value = ToTimespec(std::max<std::int64_t>(due, 1));
  }
  timerfd_settime(timerFd, TFD_TIMER_ABSTIME, &setting, nullptr);
}

// During a dispatch the time set has usually passed, so this costs nothing until the dispatch ends.
void ZTKEventLoop::State::ArmNotAfter(std::int64_t due) noexcept {
  if (due < armedFor) Set(due);
}

void ZTKEventLoop::State::ArmForNext(std::int64_t now) noexcept {
  std::int64_t due = kNever;
  if (queue.HasNext()) {
    due = queue.NextDue();
    if (queue.Count() >= kCrowd) due = queue.LastServableTime();
  }
  if (due != armedFor || armedFor <= now) Set(due);
}

void ZTKEventLoop::State::OpenDescriptors() noexcept {
  if (wakeFd < 0) wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (timerFd >= 0) return;
  timerFd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  if (timerFd >= 0) Set(queue.HasNext() ? queue.NextDue() : kNever);
}

// A descriptor shared with the parent would let one process set the other's alarm.
void ZTKEventLoop::State::ReplaceDescriptorsAfterFork() noexcept {
  const auto replace = [](std::atomic<int>& fd, auto create) {
    if (fd < 0) return;
    int fresh = create();
    if (fresh < 0) {
      // There may be room for one in the place of the old one alone.
      close(fd);
      fresh = create();
    }
    if (fresh >= 0 && fresh != fd && dup3(fresh, fd, O_CLOEXEC) == fd) {
      close(fresh);
      fresh = fd;
    }
    fd = fresh;
  };
  replace(timerFd, [] { return timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK); });
  replace(wakeFd, [] { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); });
  Set(armedFor);
}

// Sleeps until a timer is due, Quit() is called or the deadline passes; a signal may end it early.
void ZTKEventLoop::State::Wait(std::int64_t deadline) noexcept {
  std::int64_t end = deadline;
  if ((timerFd < 0 || wakeFd < 0) && queue.HasNext()) end = std::min(end, queue.NextDue());
  if (wakeFd < 0) return WaitWithoutDescriptor(end);
  timespec timeout = {};
  if (end != kNever) timeout = ToTimespec(std::max<std::int64_t>(end - SystemClock(), 0));

  pollfd watched[] = {{timerFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
  ppoll(watched, std::size(watched), end != kNever ? &timeout : nullptr, nullptr);
  // The wake-up of a Quit() on another thread that was heeded before it came.
  if (watched[1].revents != 0 && quit == 0) DrainWakeUps();
}

void ZTKEventLoop::State::WaitWithoutDescriptor(std::int64_t end) noexcept {
  const timespec until = ToTimespec(std::max<std::int64_t>(end, 0));
  if (end == kNever) {
    sem_wait(&wakeUp);
  } else {
    sem_clockwait(&wakeUp, CLOCK_MONOTONIC, &until);
  }
}

// Takes back what Quit() did.
void ZTKEventLoop::State::ForgetQuit() noexcept {
  quit = 0;
  DrainWakeUps();
}

void ZTKEventLoop::State::DrainWakeUps() noexcept {
  while (sem_trywait(&wakeUp) == 0) {
  }
  if (wakeFd < 0) return;
  std::uint64_t ignored = 0;
  [[maybe_unused]] const ssize_t drained = read(wakeFd, &ignored, sizeof ignored);
}

// --- The loop ---------------------------------------------------------------------------------

ZTKEventLoop& ZTKEventLoop::Main() noexcept {
  // In storage that no destructor touches: static objects stop their timers at the very end.
  alignas(State) static unsigned char stateStorage[sizeof(State)];
  alignas(ZTKEventLoop) static unsigned char loopStorage[sizeof(ZTKEventLoop)];
  static ZTKEventLoop& loop = *[] {
    auto* made = new (loopStorage) ZTKEventLoop(*new (stateStorage) State);
    pthread_atfork(nullptr, nullptr, [] { Main().m_state.ReplaceDescriptorsAfterFork(); });
    return made;
  }();
  return loop;
}

int ZTKEventLoop::GetFd() noexcept {
  m_state.OpenDescriptors();
  return m_state.timerFd;
}

unsigned long ZTKEventLoop::Dispatch() {
  const unsigned long fired = FireDueTimers();
  m_state.ArmForNext(Now());
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

void ZTKEventLoop::Run() { RunUntil(kNever); }

void ZTKEventLoop::RunFor(unsigned long nMilliseconds) {
  const std::int64_t start = SystemClock();
  const bool fits = std::uint64_t{nMilliseconds} <= static_cast<std::uint64_t>(kNever / kNsPerMs);
  RunUntil(fits ? SaturatingAdd(start, static_cast<std::int64_t>(nMilliseconds) * kNsPerMs)
                : kNever);
}

void ZTKEventLoop::RunUntil(std::int64_t nDeadline) {
  // Quit() is for the innermost run: what it said to an outer one is kept for that, and what it
  // said while none was running is forgotten.
  struct Running {
    // In one step, as another thread may call Quit() meanwhile.
    explicit Running(State& s) : state(s), outerQuits(s.quit.exchange(0) != 0 && s.running > 0) {
      ++state.running;
      state.DrainWakeUps();
    }
    ~Running() {
      --state.running;
      state.ForgetQuit();
      state.quit = outerQuits ? 1 : 0;
    }
    State& state;
    const bool outerQuits;
  };
  m_state.OpenDescriptors();
  const Running scope(m_state);
  for (;;) {
    FireDueTimers();
    const std::int64_t now = Now();
    const bool over = m_state.quit != 0 || (nDeadline != kNever && SystemClock() >= nDeadline);
    const bool moreDue = m_state.queue.HasNext() && m_state.queue.NextDue() <= now;
    if (over || !moreDue) m_state.ArmForNext(now);
    if (over) return;
    if (!moreDue) m_state.Wait(nDeadline);
  }
}

void ZTKEventLoop::Quit() noexcept {
  const int savedErrno = errno;  // A signal handler must leave it alone.
  m_state.quit = 1;
  // A run that opens the descriptor after this looks at what has just been set before it sleeps.
  const int wakeFd = m_state.wakeFd;
  const std::uint64_t one = 1;
  if (wakeFd < 0) {
    sem_post(&m_state.wakeUp);
  } else {
    [[maybe_unused]] const ssize_t written = write(wakeFd, &one, sizeof one);
  }
  errno = savedErrno;
}

// --- Timers -----------------------------------------------------------------------------------

ZTKEventLoopTimer ZTKEventLoop::InstallTimer(std::int64_t nDelayNs, std::int64_t nIntervalNs,
                                             ZTKEventLoopCallback pCallback,
                                             void* pUserData) noexcept {
  if (pCallback == nullptr) return 0;

  const std::int64_t delay = std::max<std::int64_t>(nDelayNs, 0);
  const std::int64_t interval = std::max<std::int64_t>(nIntervalNs, 0);
  const std::int64_t due = SaturatingAdd(Now(), delay);
  const ZTKEventLoopTimer name = m_state.queue.Add({pCallback, pUserData, interval, m_state.round},
                                                   due, SlackOf(delay, interval));
  if (name != 0) m_state.ArmNotAfter(due);
  return name;
}

bool ZTKEventLoop::RemoveTimer(ZTKEventLoopTimer nTimer) noexcept {
  if (!m_state.queue.Remove(nTimer)) return false;

  // While other timers run the alarm stays: at most it wakes the program once for nothing.
  if (m_state.queue.Count() != 0 || m_state.dispatching != 0) return true;
  if (m_state.armedFor != kNever) m_state.Set(kNever);
  return true;
}

unsigned long ZTKEventLoop::GetTimerCount() const noexcept {
  return static_cast<unsigned long>(m_state.queue.Count());
}

std::int64_t ZTKEventLoop::Now() const noexcept { return m_state.clock(); }

void ZTKEventLoop::SetClock(std::int64_t (*pClock)()) noexcept {
  m_state.clock = pClock != nullptr ? pClock : SystemClock;
  m_state.Set(m_state.queue.HasNext() ? m_state.queue.NextDue() : kNever);
}
