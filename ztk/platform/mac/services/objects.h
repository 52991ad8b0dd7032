#pragma once

#include <atomic>
#include <memory>

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

/// The base of the reference-counted objects. Functions with Create or Copy in their names return
/// one with a count of one, which the caller releases. The count is atomic.
class CFObject {
 public:
  CFObject() noexcept;
  virtual ~CFObject();
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;

 private:
  friend const CFObject* CFRetain(const CFObject* object) noexcept;
  friend void CFRelease(const CFObject* object) noexcept;
  friend bool CFRetainAlive(const CFObject* object) noexcept;

  mutable std::atomic<long> m_count = 1;
};

using CFTypeRef = const CFObject*;
using CFIndex = long;

struct CFAllocator;
using CFAllocatorRef = const CFAllocator*;
constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

/// Increments the count and returns the object. Nothing happens to null.
CFTypeRef CFRetain(CFTypeRef object) noexcept;
/// Decrements the count and destroys the object at zero. Nothing happens to null.
void CFRelease(CFTypeRef object) noexcept;

/// Retains the object unless its count is zero and it is being destroyed: for tables that objects
/// leave in their destructors. Called with the table's lock held.
bool CFRetainAlive(CFTypeRef object) noexcept;

/// The number of objects in this process, for leak checks in tests.
long CFCountObjects() noexcept;

struct CFReleaser {
  void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};
/// Owns one reference to an object.
template <class Object>
using CFOwned = std::unique_ptr<Object, CFReleaser>;

}  // namespace ztk_mac_services
