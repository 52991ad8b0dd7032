#include "ztk/platform/mac/services/types.h"

#include <atomic>

namespace ztk_mac_services {

namespace {

constinit std::atomic<long> s_objects = 0;

}  // namespace

CFObject::CFObject() noexcept { ++s_objects; }

CFObject::~CFObject() { --s_objects; }

CFTypeRef CFRetain(CFTypeRef object) noexcept {
  if (object != nullptr) ++object->m_count;
  return object;
}

void CFRelease(CFTypeRef object) noexcept {
  if (object != nullptr && --object->m_count == 0) delete object;
}

long CFCountObjects() noexcept { return s_objects; }

}  // namespace ztk_mac_services
