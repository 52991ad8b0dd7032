#include "ztk/platform/unix/dynamic_library.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstddef>

std::string XPProgramPath() {
  std::string path(256, '\0');
  for (;;) {
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return "";
    if (static_cast<size_t>(length) < path.size()) {
      path.resize(static_cast<size_t>(length));
      return path;
    }
    path.resize(2 * path.size());  // Cut: there is more.
  }
}

void* XPOpenLibrary(const std::string& path, std::string& reason) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  const char* const text = dlerror();
  reason = text != nullptr ? text : "unknown error";
  return nullptr;
}

void* XPFindFunction(void* pLibrary, const char* pszName) noexcept {
  // To the loader null means "every library of the process".
  if (pLibrary == nullptr) return nullptr;
  void* const address = dlsym(pLibrary, pszName);
  if (address == nullptr) return nullptr;

  const link_map* library = nullptr;
  void* home = nullptr;
  Dl_info info = {};
  if (dlinfo(pLibrary, RTLD_DI_LINKMAP, &library) != 0) return nullptr;
  if (dladdr1(address, &info, &home, RTLD_DL_LINKMAP) == 0 || home != library) return nullptr;
  return address;
}

void XPCloseLibrary(void* pLibrary) noexcept {
  if (pLibrary != nullptr) dlclose(pLibrary);
}
