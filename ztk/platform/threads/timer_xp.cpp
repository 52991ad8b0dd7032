#include "ztk/system/timer.h"

#include <cstdint>
#include <new>

#include "ztk/system/event_loop.h"
#include "ztk/system/internal/clock_xp.h"

struct ZTKTimer::XPRecord {
  ZTKTimer* owner;
  std::uint32_t id;
  ZTKEventLoopCallback callback;
  ZTKEventLoopTimer timer;
};

std::uint32_t ZTKTimer::XPSetTimer(unsigned long nId, unsigned long nMilliseconds) {
  const auto id = static_cast<std::uint32_t>(nId);
  m_pRecord = new (std::nothrow) XPRecord{this, id, ZTKProcessTimer, 0};
  if (m_pRecord == nullptr) return id;
  m_pRecord->timer = ZTKEventLoop::Main().InstallTimer(
      ZTKNanoseconds(nMilliseconds), ZTKNanoseconds(m_nMilliseconds), m_pRecord->callback, this);
  return id;
}

void ZTKTimer::XPKillTimer(unsigned long /*nId*/) {
  if (m_pRecord == nullptr) return;
  ZTKEventLoop::Main().RemoveTimer(m_pRecord->timer);
  delete m_pRecord;
  m_pRecord = nullptr;
}
