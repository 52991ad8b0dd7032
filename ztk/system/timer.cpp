#include "ztk/system/timer.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "ztk/foundation/maps.h"
#include "ztk/foundation/word.h"

std::uint32_t ZTKTimer::s_uInitTime = 1;

namespace {

constexpr unsigned long kBuckets = 17;

// From the id of each running timer to the timer. No destructor ends it: static timers of the
// application are stopped, or even started, after the map was emptied.
ZTKMap& RunningTimers() {
  alignas(ZTKMap) static unsigned char storage[sizeof(ZTKMap)];
  static ZTKMap& timers = *new (storage) ZTKMap(kBuckets);
  return timers;
}

struct TimerMapOfTheProcess {
  TimerMapOfTheProcess() { RunningTimers(); }
  ~TimerMapOfTheProcess() { RunningTimers().EraseAll(); }
} const s_timerMapOfTheProcess;

unsigned long s_nHighestId = 0;

ZTKWord AsMapValue(ZTKTimer* timer) { return reinterpret_cast<std::uintptr_t>(timer); }
// NOLINTNEXTLINE(performance-no-int-to-ptr): the map holds machine words.
ZTKTimer* AsTimer(ZTKWord value) { return reinterpret_cast<ZTKTimer*>(value); }

}  // namespace

ZTKTimer::~ZTKTimer() { ZTKTimer::Stop(); }

bool ZTKTimer::Start(unsigned long nMilliseconds, int bOneShot) {
  if (IsRunning()) Stop();
  // An override that did not stop the timer must not leave a second one behind.
  if (m_nId != 0) ZTKTimer::Stop();

  m_nMilliseconds = static_cast<std::uint32_t>(nMilliseconds);
  m_bOneShot = bOneShot;
  m_nId = XPSetTimer(s_uInitTime++, nMilliseconds);
  if (m_nId == 0) {
    XPKillTimer(0);  // The loop's timer is set all the same.
    return false;
  }

  ZTKMap& timers = RunningTimers();
  // Ids count upwards: one above all so far cannot be taken, and need not be looked up.
  const bool bMayBeTaken = m_nId <= s_nHighestId;
  s_nHighestId = std::max<unsigned long>(s_nHighestId, m_nId);
  if (bMayBeTaken && timers.GetCount(m_nId) != 0) {
    XPKillTimer(m_nId);
    m_nId = 0;
    return false;
  }
  // Emptied at the exit of the process, and needed once more by a static object.
  if (timers.GetBucketCount() == 0) timers.InitHashTable(kBuckets, 1);
  if (timers.GetBucketCount() != 0) timers.Insert(m_nId, AsMapValue(this));
  return true;
}

void ZTKTimer::Stop() {
  if (m_nId == 0) return;
  XPKillTimer(m_nId);
  RunningTimers().EraseAndFree(m_nId);
  m_nId = 0;
}

void ZTKTimer::Notify() {}

bool ZTKTimer::IsRunning() const { return m_nId != 0; }

void ZTKTimer::TimerProc(ZTKTimer* pTimer) {
  if (pTimer == nullptr) return;
  if (pTimer->m_bOneShot != 0) pTimer->Stop();
  pTimer->Notify();  // May delete the timer.
}

void ZTKTimer::TimerProc(unsigned long nId) {
  TimerProc(AsTimer(RunningTimers().Find(nId).GetValue()));
}

void ZTKProcessTimer(ZTKEventLoopTimer /*nTimer*/, void* pUserData) {
  ZTKTimer::TimerProc(static_cast<ZTKTimer*>(pUserData));
}
