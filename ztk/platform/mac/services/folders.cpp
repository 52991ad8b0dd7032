#include "ztk/platform/mac/services/folders.h"

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/mac/services/volumes.h"
#include "ztk/platform/unix/host_folders.h"

namespace ztk_mac_services {

namespace {

std::string PreferencesFolder() {
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  if (configured != nullptr && configured[0] == '/') return configured;
  std::string home(ZTKPathLimit::kSystemPath + 1, '\0');
  if (!XPFindHostHome("", home.data(), home.size())) return "";
  home.resize(std::strlen(home.c_str()));
  return home + "/.config";
}

void MakeFolders(const std::string& path) {
  for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    mkdir(path.substr(0, end).c_str(), 0700);
  }
  mkdir(path.c_str(), 0700);
}

}  // namespace

OSErr FSFindFolder(short nVolume, OSType nType, Boolean bCreate, FSRef* pRef) noexcept {
  if (Faults::Hit()) return ioErr;
  if (pRef == nullptr) return paramErr;
  return Guarded(memFullErr, [=]() -> OSErr {
    Volume volume;
    const short number = nVolume == kOnSystemDisk ? short{-1} : nVolume;
    if (!Volumes::FindByNumber(number, volume)) return nsvErr;
    std::string path;
    if (nType == kTemporaryFolderType) path = XPGetHostTempFolder();
    if (nType == kPreferencesFolderType) path = PreferencesFolder();
    if (volume.root != "/" || path.empty()) return fnfErr;

    if (bCreate != 0 && !XPIsFolder(path.c_str())) MakeFolders(path);
    if (!XPIsFolder(path.c_str())) return fnfErr;
    return RefOfHostPath(path, *pRef);
  });
}

}  // namespace ztk_mac_services
