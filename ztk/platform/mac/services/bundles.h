#pragma once

#include <string>

#include "ztk/platform/mac/services/strings.h"
#include "ztk/platform/mac/services/urls.h"

namespace ztk_mac_services {

/// Code that can be loaded: a shared object, or a folder that holds one as
/// "Name.bundle/Contents/Linux/Name".
///
/// There is one bundle for each path: whoever creates it again gets another count of it. So a
/// bundle that was never released is found again, and is not made a second time. Any thread may use
/// any bundle of which it holds a count, and find functions in one of which it holds a load.
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

  /// The bundle of a path, with a further count of it; null when there is none.
  static __CFBundle* OfPath(const std::string& path) noexcept;
  /// The same, and makes it when there is none; throws without memory.
  static __CFBundle* Make(const std::string& path);

  /// What is behind a handle that anyone may have given: the bundle, without a further count; null,
  /// and nothing is read through the pointer, when no bundle is at that address.
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

/// Loads the bundle's code. Each load that succeeded wants an unload of its own.
Boolean CFBundleLoadExecutable(CFBundleRef bundle) noexcept;

/// Takes one load back; the code goes with the last.
void CFBundleUnloadExecutable(CFBundleRef bundle) noexcept;

/// The address of a function that the bundle's own code exports; null while it is not loaded.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) noexcept;

}  // namespace ztk_mac_services
