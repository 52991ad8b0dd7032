#include "ztk/platform/mac/services/files.h"

#include <string>
#include <string_view>

#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"

namespace ztk_mac_services {

OSErr FSMakeFSSpec(short nVolume, long nDirectory, const unsigned char* pName,
                   FSSpec* pSpec) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pSpec == nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string_view name;
    if (pName != nullptr) name = {reinterpret_cast<const char*>(pName + 1), pName[0]};
    std::string path;
    if (const OSErr error = HostPathOfName(nVolume, nDirectory, name, path); error != noErr)
      return error;
    return SpecOfHostPath(path, *pSpec);
  });
}

OSErr FSpMakeFSRef(const FSSpec* pSpec, FSRef* pRef) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pSpec == nullptr || pRef == nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string path;
    if (const OSErr error = HostPathOf(*pSpec, path); error != noErr) return error;
    return RefOfHostPath(path, *pRef);
  });
}

OSErr FSPathMakeRef(const unsigned char* pszPath, FSRef* pRef, Boolean* pIsDirectory) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pszPath == nullptr || pRef == nullptr || pIsDirectory != nullptr) return paramErr;
  const auto* const path = reinterpret_cast<const char*>(pszPath);
  return Guarded(memFullErr, [=] { return RefOfHostPath(path, *pRef); });
}

OSErr FSGetCatalogInfo(const FSRef* pRef, FSCatalogInfoBitmap nFields, FSCatalogInfo* /*pInfo*/,
                       HFSUniStr255* pName, FSSpec* pSpec, FSRef* pParent) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pRef == nullptr || nFields != kFSCatInfoNone) return paramErr;
  if (pName != nullptr || pSpec == nullptr || pParent != nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string path;
    if (const OSErr error = HostPathOf(pRef->place, path); error != noErr) return error;
    FSRef file;
    const OSErr error = RefOfHostPath(path, file);
    if (error == noErr) *pSpec = file.place;
    return error;
  });
}

}  // namespace ztk_mac_services
