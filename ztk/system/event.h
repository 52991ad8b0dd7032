#pragma once

#include <cstdint>

#include "ztk/export.h"

/// A record of seven numbers that applications pass around as an event and derive their own from.
class ZTK_API ZTKEvent {
 public:
  static constexpr int kFields = 7;

  /// `b` becomes the second field and `a` the fourth; the others are 0.
  ZTKEvent(int a, int b) noexcept : m_field{0, b, 0, a, 0, 0, 0} {}
  ZTKEvent(const ZTKEvent&) noexcept = default;
  ZTKEvent& operator=(const ZTKEvent&) noexcept = default;
  virtual ~ZTKEvent();

  /// A field, counted from 0; 0 for one that does not exist.
  std::int32_t GetField(int nIndex) const noexcept {
    return nIndex >= 0 && nIndex < kFields ? m_field[nIndex] : 0;
  }

 protected:
  friend struct ZTKSystemLayout;
  std::int32_t m_field[kFields];
};
