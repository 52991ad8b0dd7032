// Finds the dialog plug-in at run time: nothing of it, nor of its toolkit, is loaded before a
// program asks for a dialog, and nothing at all where no display is in sight.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "ztk/platform/unix/dynamic_library.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace {

constexpr char kPlugIn[] = "libztkdialog-gtk3.so";
constexpr char kEntry[] = "ztk_file_dialog_backend";

bool IsSet(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

// Two major versions of GTK in one process end it: both register the same type names.
const char* WhyToolkitCannotLoad() {
  if (XPIsLibraryLoaded("libgtk-4.so"))
    return "GTK 4 is in this process, and GTK 3 cannot be beside it";
  if (XPIsLibraryLoaded("libgtk-x11-2.0.so")) {
    return "GTK 2 is in this process, and GTK 3 cannot be beside it";
  }
  // A program that runs GTK 3 itself may have got its display by other means.
  if (XPIsLibraryLoaded("libgtk-3.so")) return nullptr;
  for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "GDK_BACKEND"}) {
    if (IsSet(name)) return nullptr;
  }
  return "no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
}

// A build leaves the plug-in beside the library; installed, it has a folder of its own below that
// of the libraries, since nobody is to link with it. A name that does not exist if there is none.
ZTKString FindPlugIn(const ZTKString& folder, bool inProgram) {
  ZTKString beside = ZTKString(folder) << "/" << kPlugIn;
  if (access(beside.c_str(), F_OK) == 0) return beside;
  ZTKString installed(folder);
  if (inProgram) installed << "/" ZTK_PLUGIN_FROM_PROGRAM;
  installed << "/ztkbase/" << kPlugIn;
  return access(installed.c_str(), F_OK) == 0 ? installed : beside;
}

using Entry = const ZTKFileDialogBackend* (*)();

const ZTKFileDialogBackend* LoadFrom(const ZTKString& path, ZTKString& reason) {
  void* const plugIn = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (plugIn == nullptr) {
    const char* const text = dlerror();
    reason = text != nullptr ? text : "the plug-in cannot be loaded";
    return nullptr;
  }
  void* const symbol = dlsym(plugIn, kEntry);
  if (symbol == nullptr) {
    reason = ZTKString(path) += " is not a dialog plug-in";
    dlclose(plugIn);
    return nullptr;
  }
  Entry entry = nullptr;
  std::memcpy(&entry, &symbol, sizeof entry);
  return entry();  // The handle is kept: a toolkit cannot be unloaded.
}

}  // namespace

const ZTKFileDialogBackend* XPLoadFileDialogBackend(ZTKString& reason) {
  // Asked anew each time: a module loaded since the last dialog may have brought another GTK.
  if (const char* const obstacle = WhyToolkitCannotLoad()) {
    reason = obstacle;
    return nullptr;
  }
  static const ZTKFileDialogBackend* s_pLoaded = nullptr;
  if (s_pLoaded != nullptr) return s_pLoaded;

  bool inProgram = false;
  const ZTKString folder = XPOwnFolder(inProgram);
  if (folder.Len() == 0) {
    reason = "the folder of the library is unknown";
    return nullptr;
  }
  s_pLoaded = LoadFrom(FindPlugIn(folder, inProgram), reason);
  return s_pLoaded;
}
