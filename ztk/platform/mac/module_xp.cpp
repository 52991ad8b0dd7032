#include "ztk/system/module.h"

#include "ztk/platform/mac/application_package.h"
#include "ztk/platform/mac/services/bundles.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/processes.h"
#include "ztk/platform/mac/services/strings.h"
#include "ztk/platform/mac/services/urls.h"
#include "ztk/system/internal/module_xp.h"

using namespace ztk_mac_services;

OSErr FindApplicationPackageDirectory(short* pVolume, long* pDirectory) {
  constexpr int kLevels = 3;
  FSSpec place = {};
  const ProcessSerialNumber self = {0, kCurrentProcess};
  ProcessInfoRec info = {kProcessInfoLength, nullptr, &place};
  OSErr error = GetProcessInformation(&self, &info);

  // With an empty name the FSSpec is that of the folder itself, whose own folder is one up.
  const Str255 itself = {};
  for (int level = 0; level < kLevels && error == noErr; ++level) {
    FSSpec folder = {};
    error = FSMakeFSSpec(place.vRefNum, place.parID, itself, &folder);
    place = folder;
  }
  if (error != noErr) return error;
  *pVolume = place.vRefNum;
  *pDirectory = place.parID;
  return noErr;
}

OSErr CreateBundleFromFSSpec(FSSpec* pSpec, __CFBundle** ppBundle) {
  FSRef file = {};
  const OSErr error = FSpMakeFSRef(pSpec, &file);
  if (error != noErr) return error;
  const CFOwned<const CFURL> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &file));
  if (url != nullptr) *ppBundle = CFBundleCreate(kCFAllocatorDefault, url.get());
  return error;
}

// The services give no reason in words.
void* XPLoadModule(const ZTKString& libName, std::string& /*reason*/) {
  Str255 name;
  c2pstrcpy(name, libName.c_str());
  short volume = 0;
  long directory = 0;
  FSSpec file = {};
  __CFBundle* bundle = nullptr;
  OSErr error = FindApplicationPackageDirectory(&volume, &directory);
  if (error == noErr) error = FSMakeFSSpec(volume, directory, name, &file);
  if (error == noErr) error = CreateBundleFromFSSpec(&file, &bundle);
  // A bundle that does not load stays retained, deliberately: the system returns the same one for
  // the file again.
  // NOLINTBEGIN(clang-analyzer-osx.cocoa.RetainCount)
  const bool isLoaded = error == noErr && bundle != nullptr && CFBundleLoadExecutable(bundle) != 0;
  return isLoaded ? bundle : nullptr;
  // NOLINTEND(clang-analyzer-osx.cocoa.RetainCount)
}

void* ZTKModule::XPDllGetSymbol(const ZTKString& name) const {
  // A handle that was attached may be anything. What is no bundle has no functions here.
  __CFBundle* const bundle = __CFBundle::OfHandle(m_pHandle);
  if (bundle == nullptr) return nullptr;
  const CFOwned<const CFString> text(
      CFStringCreateWithCString(kCFAllocatorDefault, name.c_str(), kCFStringEncodingASCII));
  return CFBundleGetFunctionPointerForName(bundle, text.get());
}

void ZTKModule::XPDllUnload() {
  __CFBundle* const bundle = __CFBundle::OfHandle(m_pHandle);
  m_pHandle = nullptr;
  if (bundle == nullptr) return;  // Anything else is not ours to unload.
  CFBundleUnloadExecutable(bundle);
  CFRelease(bundle);
}
