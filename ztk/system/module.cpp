#include "ztk/system/module.h"

#include <cstring>
#include <new>
#include <string>

#include "ztk/log/internal/debug_output_xp.h"
#include "ztk/log/log.h"
#include "ztk/system/internal/module_xp.h"

ZTKModule::ZTKModule(const ZTKString& libName, const ZTKString& initName,
                     const ZTKString& cleanupName)
    : m_initName(initName), m_cleanupName(cleanupName) {
  Load(libName);
}

ZTKModule::~ZTKModule() {
  if ((m_bAttached & kAttached) == 0) Unload();
}

void ZTKModule::SetInitCleanupName(const ZTKString& initName, const ZTKString& cleanupName) {
  m_initName = initName;
  m_cleanupName = cleanupName;
}

bool ZTKModule::Load(const ZTKString& libName) {
  m_pHandle = XPDllLoad(libName);
  if (m_pHandle == nullptr || m_initName.Len() == 0) return false;
  CallFunction(m_initName);
  return true;
}

void* ZTKModule::XPDllLoad(const ZTKString& libName) {
  m_pHandle = nullptr;
  std::string reason;
  try {
    m_pHandle = XPLoadModule(libName, reason);
    reason += '\n';
  } catch (const std::bad_alloc&) {
    reason = "out of memory\n";  // Short enough to need none.
  }
  if (m_pHandle != nullptr) return m_pHandle;

  ZTKOutputDebugString("Load Shared Library %s Error!!", libName.c_str());
  // Not through the debug output, which interprets per-cent signs and cuts long lines.
  if (reason.size() > 1) XPWriteDebugLine(reason.c_str(), reason.size());
  return nullptr;
}

void ZTKModule::Unload() {
  // Unmapping the library while its clean-up function runs would leave that nowhere to return to.
  if (m_pHandle == nullptr || (m_bAttached & kUnloading) != 0) return;

  if (m_cleanupName.Len() != 0) {
    const void* const handle = m_pHandle;
    m_bAttached |= kUnloading;
    CallFunction(m_cleanupName);
    m_bAttached &= ~kUnloading;
    if (m_pHandle != handle) return;
  }
  XPDllUnload();
  m_pHandle = nullptr;
}

void* ZTKModule::GetSymbol(const ZTKString& name) const { return XPDllGetSymbol(name); }

void* ZTKModule::Attach(void* pHandle) noexcept {
  void* const old = m_pHandle;
  m_bAttached |= kAttached;
  m_pHandle = pHandle;
  return old;
}

void* ZTKModule::Detach() noexcept {
  void* const old = m_pHandle;
  m_bAttached &= ~kAttached;
  m_initName = "";
  m_cleanupName = "";
  m_pHandle = nullptr;
  return old;
}

void ZTKModule::CallFunction(const ZTKString& name) const {
  void* const address = XPDllGetSymbol(name);
  if (address == nullptr) return;
  void (*function)() = nullptr;
  static_assert(sizeof function == sizeof address);
  std::memcpy(&function, &address, sizeof function);  // No cast may turn data into a function.
  function();
}
