#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include "ztk/foundation/log.h"
#include "ztk/system/module.h"

namespace {

// The folder of the running program, with the "/" behind it; "" when the system does not tell.
std::string ProgramFolder() {
  std::string path(256, '\0');
  for (;;) {
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return "";
    if (static_cast<size_t>(length) < path.size()) {
      path.resize(static_cast<size_t>(length));
      return path.substr(0, path.rfind('/') + 1);
    }
    path.resize(2 * path.size());  // Cut: there is more.
  }
}

// "dir/name" gives "dir/libname.so".
std::string DecoratedName(std::string_view name) {
  const size_t base = name.rfind('/') + 1;  // 0 without a "/".
  std::string decorated(name.substr(0, base));
  decorated += "lib";
  decorated += name.substr(base);
  decorated += ".so";
  return decorated;
}

// Opens a library by its path; null, and the loader's own words, when that fails.
void* Open(const std::string& path, std::string& reason) {
  void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle != nullptr) return handle;
  const char* const text = dlerror();
  reason = text != nullptr ? text : "unknown error";
  return nullptr;
}

void* LoadFromProgramFolder(std::string_view name, std::string& reason) {
  const std::string folder = ProgramFolder();
  if (name.empty() || folder.empty()) {
    reason = name.empty() ? "the name is empty" : "the folder of the program is unknown";
    return nullptr;
  }
  const std::string plain = folder + std::string(name);
  void* handle = Open(plain, reason);
  if (handle != nullptr) return handle;

  const std::string decorated = folder + DecoratedName(name);
  std::string decoratedReason;
  handle = Open(decorated, decoratedReason);
  // The words that help are those about a file that is there.
  const bool plainExists = access(plain.c_str(), F_OK) == 0;
  if (!plainExists && access(decorated.c_str(), F_OK) == 0) reason = decoratedReason;
  return handle;
}

}  // namespace

void* ZTKModule::XPDllLoad(const ZTKString& libName) {
  m_pHandle = nullptr;
  std::string reason;
  try {
    m_pHandle = LoadFromProgramFolder(libName.view(), reason);
  } catch (const std::bad_alloc&) {
  }
  if (m_pHandle != nullptr) return m_pHandle;

  ZTKOutputDebugString("Load Shared Library %s Error!!", libName.c_str());
  // Not through the debug output, which interprets per-cent signs and cuts long lines.
  std::fprintf(stderr, "%s\n", reason.empty() ? "out of memory" : reason.c_str());
  return nullptr;
}

void* ZTKModule::XPDllGetSymbol(const ZTKString& name) const {
  // To the loader null means "every library of the process".
  if (m_pHandle == nullptr) return nullptr;
  void* const address = dlsym(m_pHandle, name.c_str());
  if (address == nullptr) return nullptr;

  // The loader searches what the library depends on as well: a plug-in without an "init_module" of
  // its own must not run the C library's.
  const link_map* library = nullptr;
  void* home = nullptr;
  Dl_info info = {};
  if (dlinfo(m_pHandle, RTLD_DI_LINKMAP, &library) != 0) return nullptr;
  if (dladdr1(address, &info, &home, RTLD_DL_LINKMAP) == 0 || home != library) return nullptr;
  return address;
}

void ZTKModule::XPDllUnload() {
  void* const handle = m_pHandle;
  m_pHandle = nullptr;
  if (handle != nullptr) dlclose(handle);
}
