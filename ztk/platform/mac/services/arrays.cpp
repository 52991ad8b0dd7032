#include "ztk/platform/mac/services/arrays.h"

#include <new>

#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"

namespace ztk_mac_services {

CFArray::~CFArray() {
  for (const CFTypeRef item : m_items) CFRelease(item);
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*nCapacity*/,
                                       const CFArrayCallBacks* /*pCallBacks*/) noexcept {
  return Faults::Hit() ? nullptr : new (std::nothrow) CFArray;
}

void CFArrayAppendValue(CFMutableArrayRef array, CFTypeRef value) noexcept {
  if (Faults::Hit() || array == nullptr || value == nullptr) return;
  const bool added = Guarded(false, [=] {
    array->m_items.push_back(value);
    return true;
  });
  if (added) CFRetain(value);
}

CFIndex CFArrayGetCount(CFArrayRef array) noexcept {
  return array != nullptr ? static_cast<CFIndex>(array->Items().size()) : 0;
}

}  // namespace ztk_mac_services
