#pragma once

#include <vector>

#include "ztk/platform/mac/services/objects.h"

namespace ztk_mac_services {

struct CFArrayCallBacks;

/// A row of counted objects; it holds a count of each.
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

/// An empty array of as many objects as there will be; `nCapacity` and the call-backs are the
/// system's to use. Null without memory.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex nCapacity,
                                       const CFArrayCallBacks* pCallBacks) noexcept;

/// Adds an object at the end. The array stays as it is without memory, and for null.
void CFArrayAppendValue(CFMutableArrayRef array, CFTypeRef value) noexcept;

/// The number of objects; 0 for null.
CFIndex CFArrayGetCount(CFArrayRef array) noexcept;

}  // namespace ztk_mac_services
