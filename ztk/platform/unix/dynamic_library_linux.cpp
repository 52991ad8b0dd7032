#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <new>

#include "ztk/platform/unix/dynamic_library.h"

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

bool XPIsLibraryLoaded(std::string_view prefix) noexcept {
  const auto matches = [](dl_phdr_info* info, size_t, void* data) {
    const std::string_view path = info->dlpi_name != nullptr ? info->dlpi_name : "";
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.starts_with(*static_cast<const std::string_view*>(data)) ? 1 : 0;
  };
  return dl_iterate_phdr(matches, &prefix) != 0;
}

ZTKString XPOwnFolder(bool& inProgram) noexcept {
  inProgram = true;
  const std::unique_ptr<char[]> buffer(new (std::nothrow) char[PATH_MAX]());
  if (buffer == nullptr) return "";
  static constexpr char kHere = 0;
  Dl_info info = {};
  void* found = nullptr;
  if (dladdr1(&kHere, &info, &found, RTLD_DL_LINKMAP) != 0 && found != nullptr) {
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
