#include "ztk/platform/mac/services/bundles.h"

#include <sys/stat.h>

#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/unix/dynamic_library.h"

namespace ztk_mac_services {

namespace {

// All bundles, and the lock for them and their loads. It is never held while the loader works: that
// runs code of libraries, under a lock of the loader's own, and such code may come back here.
constinit std::mutex s_mutex;
constinit __CFBundle* s_pFirst = nullptr;

// Where the code of the bundle at `path` is: in the folder, if it is one, under its name.
std::string ExecutableOf(const std::string& path) {
  if (!XPIsFolder(path.c_str())) return path;
  constexpr std::string_view kSuffix = ".bundle";
  std::string_view name(path);
  while (name.ends_with('/')) name.remove_suffix(1);
  name.remove_prefix(name.rfind('/') + 1);
  if (name.ends_with(kSuffix)) name.remove_suffix(kSuffix.size());
  return path + "/Contents/Linux/" + std::string(name);
}

}  // namespace

__CFBundle::__CFBundle(std::string path) : m_path(std::move(path)) {}

__CFBundle::~__CFBundle() {
  {
    const std::lock_guard lock(s_mutex);
    __CFBundle** link = &s_pFirst;
    while (*link != nullptr && *link != this) link = &(*link)->m_pNext;
    if (*link == this) *link = m_pNext;
  }
  XPCloseLibrary(m_pLibrary);
}

// Retains it; skips one that is being destroyed. Called with the lock held.
__CFBundle* __CFBundle::FindPath(const std::string& path) noexcept {
  for (__CFBundle* bundle = s_pFirst; bundle != nullptr; bundle = bundle->m_pNext) {
    if (bundle->m_path == path && CFRetainAlive(bundle)) return bundle;
  }
  return nullptr;
}

__CFBundle* __CFBundle::OfPath(const std::string& path) noexcept {
  const std::lock_guard lock(s_mutex);
  return FindPath(path);
}

__CFBundle* __CFBundle::Make(const std::string& path) {
  if (__CFBundle* const known = OfPath(path)) return known;
  CFOwned<__CFBundle> made(CreateObject<__CFBundle>(path));
  const std::lock_guard lock(s_mutex);
  if (__CFBundle* const known = FindPath(path)) return known;  // Another thread was first.
  made->m_pNext = s_pFirst;
  s_pFirst = made.get();
  return made.release();
}

__CFBundle* __CFBundle::OfHandle(const void* pHandle) noexcept {
  const std::lock_guard lock(s_mutex);
  __CFBundle* bundle = s_pFirst;
  while (bundle != nullptr && bundle != pHandle) bundle = bundle->m_pNext;
  return bundle;
}

bool __CFBundle::Load() {
  {
    const std::lock_guard lock(s_mutex);
    if (m_nLoads != 0) {
      ++m_nLoads;
      return true;
    }
  }
  std::string ignored;  // The system's services keep the reason to themselves.
  void* library = XPOpenLibrary(ExecutableOf(m_path), ignored);
  if (library == nullptr) return false;
  {
    const std::lock_guard lock(s_mutex);
    // Another thread may have loaded it meanwhile: the second handle is closed.
    if (m_nLoads++ == 0) m_pLibrary = std::exchange(library, nullptr);
  }
  XPCloseLibrary(library);
  return true;
}

void __CFBundle::Unload() noexcept {
  void* library = nullptr;
  {
    const std::lock_guard lock(s_mutex);
    if (m_nLoads != 0 && --m_nLoads == 0) library = std::exchange(m_pLibrary, nullptr);
  }
  XPCloseLibrary(library);
}

void* __CFBundle::Find(const std::string& name) const noexcept {
  void* library = nullptr;
  {
    const std::lock_guard lock(s_mutex);
    library = m_pLibrary;
  }
  return XPFindFunction(library, name.c_str());
}

CFBundleRef CFBundleCreate(CFAllocatorRef /*allocator*/, CFURLRef url) noexcept {
  struct stat status;
  if (Faults::Hit() || url == nullptr || stat(url->Path().c_str(), &status) != 0) return nullptr;
  return Guarded<CFBundleRef>(nullptr, [=] { return __CFBundle::Make(url->Path()); });
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
