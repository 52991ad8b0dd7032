#include "ztk/platform/mac/services/files.h"

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/mac/services/volumes.h"

namespace ztk_mac_services {

namespace {

// The FSSpec of a file that exists.
OSErr SpecOfFile(const std::string& path, FSSpec& spec) {
  FSSpec found;
  if (const OSErr error = SpecOfHostPath(path, found); error != noErr) return error;
  spec = found;
  return noErr;
}

// The path of the host that the arguments of FSMakeFSSpec say.
OSErr PathOf(short nVolume, long nDirectory, std::string_view name, std::string& path) {
  const size_t colon = name.find(':');
  if (colon != std::string_view::npos && colon != 0) {
    Volume volume;
    if (!Volumes::FindByName(name.substr(0, colon), volume)) return nsvErr;
    return FollowColonPath(volume.root, name.substr(colon), path);
  }
  if (nDirectory == fsRtParID && !name.empty()) {
    FSSpec spec = {nVolume, nDirectory, {}};
    spec.name[0] =
        static_cast<unsigned char>(name.copy(reinterpret_cast<char*>(spec.name + 1), 255));
    return HostPathOf(spec, path);
  }
  std::string folder;
  if (const OSErr error = HostFolderOf(nVolume, nDirectory, folder); error != noErr) return error;
  return FollowColonPath(folder, name, path);
}

}  // namespace

OSErr FSMakeFSSpec(short nVolume, long nDirectory, const unsigned char* pName,
                   FSSpec* pSpec) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pSpec == nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string_view name;
    if (pName != nullptr) name = {reinterpret_cast<const char*>(pName + 1), pName[0]};
    std::string path;
    if (const OSErr error = PathOf(nVolume, nDirectory, name, path); error != noErr) return error;
    return SpecOfHostPath(path, *pSpec);
  });
}

OSErr FSpMakeFSRef(const FSSpec* pSpec, FSRef* pRef) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pSpec == nullptr || pRef == nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string path;
    if (const OSErr error = HostPathOf(*pSpec, path); error != noErr) return error;
    return SpecOfFile(path, pRef->place);
  });
}

OSErr FSPathMakeRef(const unsigned char* pszPath, FSRef* pRef, Boolean* pIsDirectory) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pszPath == nullptr || pRef == nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    const std::string path(reinterpret_cast<const char*>(pszPath));
    const OSErr error = SpecOfFile(path, pRef->place);
    if (error == noErr && pIsDirectory != nullptr) {
      struct stat status;
      *pIsDirectory = stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
    }
    return error;
  });
}

OSErr FSGetCatalogInfo(const FSRef* pRef, FSCatalogInfoBitmap nFields, FSCatalogInfo* /*pInfo*/,
                       HFSUniStr255* pName, FSSpec* pSpec, FSRef* pParent) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pRef == nullptr || nFields != kFSCatInfoNone || pName != nullptr) return paramErr;
  return Guarded(memFullErr, [=] {
    std::string path;
    if (const OSErr error = HostPathOf(pRef->place, path); error != noErr) return error;
    FSSpec spec;
    if (const OSErr error = SpecOfFile(path, spec); error != noErr) return error;
    if (pParent != nullptr) {
      std::string folder;
      OSErr error = HostFolderOf(spec.vRefNum, spec.parID, folder);
      if (error == noErr) error = SpecOfFile(folder, pParent->place);
      if (error != noErr) return error;
    }
    if (pSpec != nullptr) *pSpec = spec;
    return noErr;
  });
}

}  // namespace ztk_mac_services
