#include "ztk/platform/mac/services/objects.h"

#include <atomic>

namespace ztk_mac_services {

namespace {

constinit std::atomic<long> s_objects = 0;

}  // namespace

CFObject::CFObject() noexcept { ++s_objects; }

CFObject::~CFObject() { --s_objects; }

CFTypeRef CFRetain(CFTypeRef object) noexcept {
  if (object != nullptr) object->m_count.fetch_add(1, std::memory_order_relaxed);
  return object;
}

void CFRelease(CFTypeRef object) noexcept {
  if (object != nullptr && object->m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete object;
  }
}

bool CFRetainAlive(CFTypeRef object) noexcept {
  long count = object->m_count.load(std::memory_order_relaxed);
  while (count != 0) {
    if (object->m_count.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {
      return true;
    }
  }
  return false;
}

long CFCountObjects() noexcept { return s_objects; }

}  // namespace ztk_mac_services
