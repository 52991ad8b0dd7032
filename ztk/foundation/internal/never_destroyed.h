#pragma once

/// Static storage for an object that stays usable to the very end of the program, also for the
/// destructors of other static objects: it is constructed, never destroyed.
template <typename T>
union ZTKNeverDestroyed {
  constexpr ZTKNeverDestroyed() noexcept(noexcept(T())) : value() {}
  ~ZTKNeverDestroyed() {}
  ZTKNeverDestroyed(const ZTKNeverDestroyed&) = delete;
  ZTKNeverDestroyed& operator=(const ZTKNeverDestroyed&) = delete;

  T value;
};
