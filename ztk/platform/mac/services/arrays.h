#pragma once

#include <vector>

#include "ztk/platform/mac/services/objects.h"

namespace ztk_mac_services {

struct CFArrayCallBacks;

/// An array of reference-counted objects, each of which it retains.
class CFArray : public CFObject {
 public:
  ~CFArray() override;

  const std::vector<CFTypeRef>& Items() const noexcept { return m_items; }

 private:
  friend void CFArrayAppendValue(CFArray* array, CFTypeRef value) noexcept;
  std::vector<CFTypeRef> m_items;
};

using CFArrayRef = const CFArray*;
using CFMutableArrayRef = CFArray*;

/// An empty array. `nCapacity` and the call-backs are not used. Null when memory runs out.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex nCapacity,
                                       const CFArrayCallBacks* pCallBacks) noexcept;

/// Appends an object; nothing for null and when memory runs out.
void CFArrayAppendValue(CFMutableArrayRef array, CFTypeRef value) noexcept;

/// The number of objects; 0 for null.
CFIndex CFArrayGetCount(CFArrayRef array) noexcept;

}  // namespace ztk_mac_services
