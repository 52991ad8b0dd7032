// Finds the dialog plug-in at run time: nothing of it, nor of its toolkit, is loaded before a
// program asks for a dialog, and nothing at all where no display is in sight.

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "ztk/system/file_dialog_backend.h"

namespace {

constexpr char kPlugIn[] = "libztkdialog-gtk3.so";
constexpr char kEntry[] = "ztk_file_dialog_backend";

bool IsSet(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

// Whether a shared object whose file name begins with `prefix` is part of the process.
bool IsLoaded(std::string_view prefix) {
  const auto matches = [](dl_phdr_info* info, size_t, void* data) {
    const std::string_view path = info->dlpi_name != nullptr ? info->dlpi_name : "";
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.starts_with(*static_cast<const std::string_view*>(data)) ? 1 : 0;
  };
  return dl_iterate_phdr(matches, &prefix) != 0;
}

// Two major versions of GTK in one process end it: both register the same type names.
const char* WhyToolkitCannotLoad() {
  if (IsLoaded("libgtk-4.so")) return "GTK 4 is in this process, and GTK 3 cannot be beside it";
  if (IsLoaded("libgtk-x11-2.0.so")) {
    return "GTK 2 is in this process, and GTK 3 cannot be beside it";
  }
  // A program that runs GTK 3 itself may have got its display by other means.
  if (IsLoaded("libgtk-3.so")) return nullptr;
  for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "GDK_BACKEND"}) {
    if (IsSet(name)) return nullptr;
  }
  return "no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
}

// The folder of the library, and whether it is a library at all: linked statically, this code lies
// in the program. Never from a relative path, which would follow the working directory about.
ZTKString OwnFolder(bool& inProgram) {
  inProgram = true;
  const std::unique_ptr<char[]> buffer(new (std::nothrow) char[PATH_MAX]());
  if (buffer == nullptr) return "";
  Dl_info info = {};
  void* found = nullptr;
  if (dladdr1(static_cast<const void*>(kPlugIn), &info, &found, RTLD_DL_LINKMAP) != 0 &&
      found != nullptr) {
    const char* const name = static_cast<const link_map*>(found)->l_name;
    inProgram = name == nullptr || *name == '\0';
    void* const self = inProgram ? nullptr : dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    if (self != nullptr) {
      const bool known = dlinfo(self, RTLD_DI_ORIGIN, buffer.get()) == 0;
      dlclose(self);
      return known ? buffer.get() : "";
    }
  }
  if (readlink("/proc/self/exe", buffer.get(), PATH_MAX - 1) < 0) return "";
  return ZTKString(buffer.get()).BeforeLast('/');
}

// A build leaves the plug-in beside the library; installed, it has a folder of its own below that
// of the libraries, since nobody is to link with it. A name that does not exist if there is none.
ZTKString FindPlugIn(const ZTKString& folder, bool inProgram) {
  const ZTKString beside = ZTKString(folder) << "/" << kPlugIn;
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
  const ZTKString folder = OwnFolder(inProgram);
  if (folder.Len() == 0) {
    reason = "the folder of the library is unknown";
    return nullptr;
  }
  s_pLoaded = LoadFrom(FindPlugIn(folder, inProgram), reason);
  return s_pLoaded;
}
