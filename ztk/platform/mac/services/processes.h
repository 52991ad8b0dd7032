#pragma once

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

struct ProcessSerialNumber {
  std::uint32_t highLongOfPSN;
  std::uint32_t lowLongOfPSN;
};

/// The low word of the number that stands for the calling process; the high word is 0.
constexpr std::uint32_t kCurrentProcess = 2;

/// What a process can be asked for. What is null is not wanted.
struct ProcessInfoRec {
  std::uint32_t processInfoLength;  ///< kProcessInfoLength.
  unsigned char* processName;       ///< A buffer of 256 bytes.
  FSSpec* processAppSpec;           ///< The executable.
};
constexpr std::uint32_t kProcessInfoLength = 60;

/// Tells of the calling process; other processes give procNotFound. The FSSpec is that of
/// the executable itself, links resolved.
OSErr GetProcessInformation(const ProcessSerialNumber* pNumber, ProcessInfoRec* pInfo) noexcept;

}  // namespace ztk_mac_services
