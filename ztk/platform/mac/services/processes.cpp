#include "ztk/platform/mac/services/processes.h"

#include <cstring>

#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/unix/dynamic_library.h"

namespace ztk_mac_services {

OSErr GetProcessInformation(const ProcessSerialNumber* pNumber, ProcessInfoRec* pInfo) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pNumber == nullptr || pInfo == nullptr) return paramErr;
  if (pInfo->processInfoLength != kProcessInfoLength) return paramErr;
  if (pNumber->highLongOfPSN != 0 || pNumber->lowLongOfPSN != kCurrentProcess) return procNotFound;
  FSSpec program;
  const OSErr error = Guarded(memFullErr, [&] { return SpecOfHostPath(XPProgramPath(), program); });
  if (error != noErr) return error;
  if (pInfo->processName != nullptr) std::memcpy(pInfo->processName, program.name, sizeof(Str255));
  if (pInfo->processAppSpec != nullptr) *pInfo->processAppSpec = program;
  return noErr;
}

}  // namespace ztk_mac_services
