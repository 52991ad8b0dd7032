#pragma once

#include <cstddef>

/// How long paths may be, in characters.
struct ZTKPathLimit {
  static constexpr size_t kPath = 1023;        ///< That the operations work with, their result too.
  static constexpr size_t kConverted = 1024;   ///< That is converted into the system's form.
  static constexpr size_t kSystemPath = 4095;  ///< That a system may take; it may take fewer.
  static constexpr size_t kName = 255;         ///< Of one component.
};
