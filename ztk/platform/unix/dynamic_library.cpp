#include "ztk/platform/unix/dynamic_library.h"

#include <dlfcn.h>

void* XPOpenLibrary(const std::string& path, std::string& reason) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  const char* const text = dlerror();
  reason = text != nullptr ? text : "unknown error";
  return nullptr;
}

void XPCloseLibrary(void* pLibrary) noexcept {
  if (pLibrary != nullptr) dlclose(pLibrary);
}
