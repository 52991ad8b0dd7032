#include "ztk/system/timer.h"

#include <cstdint>
#include <new>
#include <type_traits>

#include "ztk/platform/mac/services/event_timers.h"

using namespace ztk_mac_services;

struct ZTKTimer::XPRecord {
  ZTKTimer* owner;
  std::uint32_t id;
  EventLoopTimerProc callback;
  EventLoopTimerRef timer;
};

// The system calls the library's own function.
static_assert(std::is_same_v<EventLoopTimerProc, decltype(&ZTKProcessTimer)>);

std::uint32_t ZTKTimer::XPSetTimer(unsigned long nId, unsigned long nMilliseconds) {
  constexpr double kMsPerSecond = 1000;
  const auto id = static_cast<std::uint32_t>(nId);
  m_pRecord = new (std::nothrow) XPRecord{this, id, ZTKProcessTimer, 0};
  if (m_pRecord == nullptr) return id;
  InstallEventLoopTimer(GetMainEventLoop(), static_cast<double>(nMilliseconds) / kMsPerSecond,
                        m_nMilliseconds / kMsPerSecond, m_pRecord->callback, this,
                        &m_pRecord->timer);
  return id;
}

void ZTKTimer::XPKillTimer(unsigned long /*nId*/) {
  if (m_pRecord == nullptr) return;
  if (m_pRecord->timer != 0) RemoveEventLoopTimer(m_pRecord->timer);
  delete m_pRecord;
  m_pRecord = nullptr;
}
