#pragma once

#include <atomic>
#include <memory>

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

/// What the counted objects have in common. They are made with a count of one by the functions
/// whose names say Create or Copy, and whoever calls those releases the object. Counts may be added
/// and taken back from any thread.
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

/// Adds one to the count, and gives the object.
CFTypeRef CFRetain(CFTypeRef object) noexcept;
/// Takes one from the count; at zero the object goes. Nothing happens to null.
void CFRelease(CFTypeRef object) noexcept;

/// Adds one to the count unless it is zero already, and the object on its way out: for tables that
/// objects leave in their destructors. The table's lock is held.
bool CFRetainAlive(CFTypeRef object) noexcept;

/// How many counted objects there are in this process, so that a test can tell that none is left.
long CFCountObjects() noexcept;

struct CFReleaser {
  void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};
/// Holds one count of an object, for the length of a scope.
template <class Object>
using CFOwned = std::unique_ptr<Object, CFReleaser>;

}  // namespace ztk_mac_services
