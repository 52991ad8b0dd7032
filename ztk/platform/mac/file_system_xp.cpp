#include "ztk/file/file_system.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/folders.h"
#include "ztk/platform/mac/services/strings.h"
#include "ztk/platform/mac/services/urls.h"

using namespace ztk_mac_services;

namespace {

// The characters of a string in ASCII; "" when not all of them could be had.
ZTKString AsciiOf(CFStringRef string) {
  const ZTKAllocationWatch memory;
  ZTKString text;
  CFIndex done = 0;
  const CFIndex length = CFStringGetLength(string);
  while (done < length) {
    unsigned char block[256];
    CFIndex used = 0;
    const CFIndex count = CFStringGetBytes(string, {done, length - done}, kCFStringEncodingASCII,
                                           '?', 0, block, sizeof block, &used);
    if (count == 0) break;
    const auto bytes = static_cast<unsigned long>(used);
    text.ConcatSelf(bytes, reinterpret_cast<const char*>(block), bytes);
    done += count;
  }
  if (done < length || memory.RanOut()) text.Clear();
  return text;
}

void SpecToFilename(const FSSpec* pSpec, char* pszBuf, unsigned long nSize, long nStyle) {
  if (pSpec == nullptr || pszBuf == nullptr || nSize == 0) return;
  FSRef ref = {};
  if (FSpMakeFSRef(pSpec, &ref) != noErr) return;
  ZTKString path;
  ZTKMacFSRefToPath(&ref, path, nStyle);
  if (path.Len() != 0) _lstrcpyn(pszBuf, path.c_str(), nSize);
}

// Where a volume is mounted, by its bytes: in ASCII, with a '?' for the rest, it could be the path
// of another folder. "" when the volume is not known.
ZTKString MountPointOf(const char* pszVolume) {
  FSSpec volume = {};
  ZTKMacHFSFilename2FSSpec(pszVolume, &volume);
  FSRef ref = {};
  if (FSpMakeFSRef(&volume, &ref) != noErr) return ZTKString();
  const CFOwned<const CFURL> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
  if (url == nullptr) return ZTKString();
  return ZTKString(std::string_view(url->Path()).substr(0, ZTKPathLimit::kConverted));
}

}  // namespace

// Between paths and the services' files -----------------------------------------------------------

void ZTKMacPathToFSRef(const ZTKString& path, FSRef* pRef, long nStyle) {
  const CFOwned<const CFString> text(
      CFStringCreateWithCString(kCFAllocatorDefault, path.c_str(), kCFStringEncodingASCII));
  const CFOwned<const CFURL> url(CFURLCreateWithFileSystemPath(
      kCFAllocatorDefault, text.get(), static_cast<CFURLPathStyle>(nStyle), 0));
  if (url != nullptr) CFURLGetFSRef(url.get(), pRef);
}

void ZTKMacFSRefToPath(const FSRef* pRef, ZTKString& out, long nStyle) {
  const CFOwned<const CFURL> url(CFURLCreateFromFSRef(kCFAllocatorDefault, pRef));
  const CFOwned<const CFString> path(
      CFURLCopyFileSystemPath(url.get(), static_cast<CFURLPathStyle>(nStyle)));
  if (path != nullptr) out.append(AsciiOf(path.get()));
}

void ZTKMacFindFolder(short nVolume, unsigned long nFolderType, unsigned char bCreate,
                      ZTKString& out) {
  FSRef folder = {};
  if (FSFindFolder(nVolume, static_cast<OSType>(nFolderType), bCreate, &folder) != noErr) return;
  ZTKMacFSRefToPath(&folder, out, kCFURLHFSPathStyle);
}

void ZTKMacFSSpec2POSIXFilename(const FSSpec* pSpec, char* pszBuf, unsigned long nSize) {
  SpecToFilename(pSpec, pszBuf, nSize, kCFURLPOSIXPathStyle);
}

void ZTKMacFSSpec2HFSFilename(const FSSpec* pSpec, char* pszBuf, unsigned long nSize) {
  SpecToFilename(pSpec, pszBuf, nSize, kCFURLHFSPathStyle);
}

// A reference that could not be made stays empty, and nothing is known of an empty one.

void ZTKMacPOSIXFilename2FSSpec(const char* pszPath, FSSpec* pSpec) {
  if (pszPath == nullptr || pSpec == nullptr) return;
  FSRef ref = {};
  FSPathMakeRef(reinterpret_cast<const unsigned char*>(pszPath), &ref, nullptr);
  FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, pSpec, nullptr);
}

void ZTKMacHFSFilename2FSSpec(const char* pszPath, FSSpec* pSpec) {
  if (pszPath == nullptr || pSpec == nullptr) return;
  FSRef ref = {};
  ZTKMacPathToFSRef(ZTKString(pszPath), &ref, kCFURLHFSPathStyle);
  FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, pSpec, nullptr);
}

// What the portable body asks ---------------------------------------------------------------------

ZTKString XPMacPathToCompName(const char* pszPath) noexcept {
  if (pszPath == nullptr) return ZTKString();
  if (*pszPath == '/') return ZTKString(pszPath);

  char volume[ZTKPathLimit::kConverted + 1] = {};
  _lstrcpyn(volume, pszPath, sizeof volume);
  char* const colon = std::strchr(volume, ':');
  if (colon == nullptr) return ZTKString(pszPath);
  *colon = '\0';
  char* const rest = colon + 1;
  std::replace(rest, rest + std::strlen(rest), ':', '/');

  const ZTKAllocationWatch memory;
  // Of a volume that is not known nothing remains: the rest is a relative path.
  ZTKString path = MountPointOf(volume);
  if (path.Len() != 0 && path.Last() != '/') path.append('/', 1);
  path.append(rest);
  if (memory.RanOut()) path.Clear();  // It would be the path of another file.
  return path;
}

char XPGetNativeSeparator() noexcept { return ':'; }

ZTKString XPGetTempFolder() noexcept {
  ZTKString folder;
  ZTKMacFindFolder(kOnSystemDisk, kTemporaryFolderType, 1, folder);
  return folder;
}

// Files are opened by the mode string alone.
int XPGetNewFilePermissions(int /*nPermissions*/) noexcept { return 0666; }

bool XPPathExists(const char* pszPath) noexcept {
  Str255 name;
  c2pstrcpy(name, pszPath);
  FSSpec spec;
  return FSMakeFSSpec(0, 0, name, &spec) == noErr;
}

// Home folders are not looked up.
bool XPFindHome(const char*, char*, size_t) noexcept { return false; }
