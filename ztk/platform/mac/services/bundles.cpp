#include "ztk/platform/mac/services/bundles.h"

#include <sys/stat.h>

#include <new>
#include <string_view>
#include <utility>

#include "ztk/platform/common/dynamic_library.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"

namespace ztk_mac_services {

namespace {

constinit __CFBundle* s_pFirst = nullptr;

// Where the code of the bundle at `path` is: in the folder, if it is one, under its name.
std::string ExecutableOf(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return path;

  constexpr std::string_view kSuffix = ".bundle";
  std::string_view name(path);
  while (name.ends_with('/')) name.remove_suffix(1);
  name.remove_prefix(name.rfind('/') + 1);
  if (name.ends_with(kSuffix)) name.remove_suffix(kSuffix.size());
  return path + "/Contents/Linux/" + std::string(name);
}

}  // namespace

__CFBundle::__CFBundle(std::string path) noexcept
    : m_path(std::move(path)), m_pNext(std::exchange(s_pFirst, this)) {}

__CFBundle::~__CFBundle() {
  XPCloseLibrary(m_pLibrary);
  __CFBundle** link = &s_pFirst;
  while (*link != this) link = &(*link)->m_pNext;
  *link = m_pNext;
}

__CFBundle* __CFBundle::OfPath(const std::string& path) noexcept {
  __CFBundle* bundle = s_pFirst;
  while (bundle != nullptr && bundle->m_path != path) bundle = bundle->m_pNext;
  return bundle;
}

bool __CFBundle::Load() {
  if (m_pLibrary == nullptr) {
    std::string ignored;  // The system's services keep the reason to themselves.
    m_pLibrary = XPOpenLibrary(ExecutableOf(m_path), ignored);
  }
  if (m_pLibrary != nullptr) ++m_nLoads;
  return m_pLibrary != nullptr;
}

void __CFBundle::Unload() noexcept {
  if (m_nLoads == 0 || --m_nLoads != 0) return;
  // Unloading runs code of the library, which may come back here.
  XPCloseLibrary(std::exchange(m_pLibrary, nullptr));
}

void* __CFBundle::Find(const std::string& name) const noexcept {
  return XPFindFunction(m_pLibrary, name.c_str());
}

CFBundleRef CFBundleCreate(CFAllocatorRef /*allocator*/, CFURLRef url) noexcept {
  struct stat status;
  if (Faults::Hit() || url == nullptr || stat(url->Path().c_str(), &status) != 0) return nullptr;
  if (__CFBundle* const known = __CFBundle::OfPath(url->Path())) {
    CFRetain(known);
    return known;
  }
  return Guarded<CFBundleRef>(nullptr, [=] { return new (std::nothrow) __CFBundle(url->Path()); });
}

Boolean CFBundleLoadExecutable(CFBundleRef bundle) noexcept {
  if (Faults::Hit() || bundle == nullptr) return 0;
  return Guarded<Boolean>(0, [=]() -> Boolean { return bundle->Load() ? 1 : 0; });
}

void CFBundleUnloadExecutable(CFBundleRef bundle) noexcept {
  if (bundle != nullptr) bundle->Unload();
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) noexcept {
  if (Faults::Hit() || bundle == nullptr || name == nullptr) return nullptr;
  return Guarded<void*>(nullptr, [=] { return bundle->Find(ToUtf8(name)); });
}

}  // namespace ztk_mac_services
