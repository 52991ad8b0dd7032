#pragma once

#include <string>

#include "ztk/platform/mac/services/strings.h"
#include "ztk/platform/mac/services/urls.h"

namespace ztk_mac_services {

/// Code that can be loaded: a shared object, or a folder that holds one as
/// "Name.bundle/Contents/Linux/Name".
///
/// There is one bundle for each path: creating it again retains it, so one that was never released
/// is found again. Any thread may use a bundle that it has a reference to, and find functions in
/// one that it has loaded.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the system's own name.
class __CFBundle : public CFObject {
 public:
  explicit __CFBundle(std::string path);
  /// Unloads what is still loaded.
  ~__CFBundle() override;

  /// Of the shared object or the folder.
  const std::string& Path() const noexcept { return m_path; }

  bool Load();
  void Unload() noexcept;
  void* Find(const std::string& name) const noexcept;

  /// The bundle of a path, retained; null when there is none.
  static __CFBundle* OfPath(const std::string& path) noexcept;
  /// The same, created when there is none; throws when memory runs out.
  static __CFBundle* Make(const std::string& path);

  /// The bundle at an address that may be anything, not retained; null when there is none. Nothing
  /// is read through the pointer.
  static __CFBundle* OfHandle(const void* pHandle) noexcept;

 private:
  static __CFBundle* FindPath(const std::string& path) noexcept;

  const std::string m_path;
  // Guarded by the lock of the list of all bundles.
  void* m_pLibrary = nullptr;
  unsigned long m_nLoads = 0;
  __CFBundle* m_pNext = nullptr;
};

/// The bundle at a URL; null when nothing is there.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url) noexcept;

/// Loads the bundle's code. Loads are counted: each needs an unload.
Boolean CFBundleLoadExecutable(CFBundleRef bundle) noexcept;

/// Undoes one load; the last one unloads the code.
void CFBundleUnloadExecutable(CFBundleRef bundle) noexcept;

/// The address of a function that the bundle's own code exports; null while it is not loaded.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) noexcept;

}  // namespace ztk_mac_services
