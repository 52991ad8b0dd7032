#include <cstdint>
#include <limits>
#include <new>

#include "ztk/system/event_loop.h"
#include "ztk/system/timer.h"

struct ZTKTimer::XPRecord {
  ZTKTimer* owner;
  std::uint32_t id;
  ZTKEventLoopCallback callback;
  ZTKEventLoopTimer timer;
};

namespace {

std::int64_t Nanoseconds(std::uint64_t milliseconds) {
  constexpr std::int64_t kNsPerMs = 1'000'000;
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (milliseconds > static_cast<std::uint64_t>(kMax / kNsPerMs)) return kMax;
  return static_cast<std::int64_t>(milliseconds) * kNsPerMs;
}

}  // namespace

std::uint32_t ZTKTimer::XPSetTimer(unsigned long nId, unsigned long nMilliseconds) {
  const auto id = static_cast<std::uint32_t>(nId);
  m_pRecord = new (std::nothrow) XPRecord{this, id, ZTKProcessTimer, 0};
  if (m_pRecord == nullptr) return id;
  m_pRecord->timer = ZTKEventLoop::Main().InstallTimer(
      Nanoseconds(nMilliseconds), Nanoseconds(m_nMilliseconds), m_pRecord->callback, this);
  return id;
}

void ZTKTimer::XPKillTimer(unsigned long /*nId*/) {
  if (m_pRecord == nullptr) return;
  ZTKEventLoop::Main().RemoveTimer(m_pRecord->timer);
  delete m_pRecord;
  m_pRecord = nullptr;
}
