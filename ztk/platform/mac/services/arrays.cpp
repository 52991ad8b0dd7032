#include "ztk/platform/mac/services/arrays.h"

#include <new>

#include "ztk/platform/mac/services/faults.h"

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
  try {
    array->m_items.push_back(value);
    CFRetain(value);
  } catch (const std::bad_alloc&) {
  }
}

CFIndex CFArrayGetCount(CFArrayRef array) noexcept {
  return array != nullptr ? static_cast<CFIndex>(array->Items().size()) : 0;
}

}  // namespace ztk_mac_services
