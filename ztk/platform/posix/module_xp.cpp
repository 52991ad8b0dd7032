#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "ztk/platform/unix/dynamic_library.h"
#include "ztk/system/internal/module_xp.h"
#include "ztk/system/module.h"

namespace {

// The folder of the running program, with the "/" behind it; "" when the system does not tell.
std::string ProgramFolder() {
  const std::string program = XPProgramPath();
  return program.substr(0, program.rfind('/') + 1);
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

}  // namespace

void* XPLoadModule(const ZTKString& libName, std::string& reason) {
  const std::string_view name = libName.view();
  const std::string folder = ProgramFolder();
  if (name.empty() || folder.empty()) {
    reason = name.empty() ? "the name is empty" : "the folder of the program is unknown";
    return nullptr;
  }
  const std::string plain = folder + std::string(name);
  void* handle = XPOpenLibrary(plain, reason);
  if (handle != nullptr) return handle;

  const std::string decorated = folder + DecoratedName(name);
  std::string decoratedReason;
  handle = XPOpenLibrary(decorated, decoratedReason);
  // The words that help are those about a file that is there.
  const bool plainExists = access(plain.c_str(), F_OK) == 0;
  if (!plainExists && access(decorated.c_str(), F_OK) == 0) reason = decoratedReason;
  return handle;
}

void* ZTKModule::XPDllGetSymbol(const ZTKString& name) const {
  return XPFindFunction(m_pHandle, name.c_str());
}

void ZTKModule::XPDllUnload() {
  void* const handle = m_pHandle;
  m_pHandle = nullptr;
  XPCloseLibrary(handle);
}
