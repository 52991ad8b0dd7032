#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"

/// A dynamic library, loaded at run time, whose functions are looked up by name.
///
/// A module may name two functions of the library, both without arguments and without a result: one
/// that is called right after loading, one that is called right before unloading. A name that is
/// empty, or that the library does not have, calls nothing.
///
/// Libraries are looked for in the folder of the running program (links resolved) and nowhere else:
/// that folder, "/" and the name. The name may contain "/". When no library can be loaded under the
/// name itself, `lib<name>.so` in the same place is tried. A failure is reported on the standard
/// error stream: "Load Shared Library <name> Error!!" and, on the next line, the loader's reason.
/// (The colon-path library looks for the name itself in the folder around the program's package,
/// and reports a failure in one line.)
///
/// The module unloads its library when it is destroyed, unless the handle came from `Attach`.
/// It is not copied. One thread at a time.
class ZTK_API ZTKModule {
 public:
  ZTKModule() noexcept = default;
  /// Stores the names and loads the library; `IsLoaded()` tells whether that worked.
  ZTKModule(const ZTKString& libName, const ZTKString& initName, const ZTKString& cleanupName);
  ~ZTKModule();
  ZTKModule(const ZTKModule&) = delete;
  ZTKModule& operator=(const ZTKModule&) = delete;

  /// Names the functions for the next `Load` and `Unload`.
  void SetInitCleanupName(const ZTKString& initName, const ZTKString& cleanupName);

  /// Loads a library and calls its init function.
  ///
  /// True when the library was loaded and an init function is named, whether or not the library has
  /// it. A library loaded without such a name stays loaded although the result is false: ask
  /// `IsLoaded()`. A library that the module held before is forgotten, not unloaded.
  bool Load(const ZTKString& libName);

  /// Calls the clean-up function and unloads the library, an attached one too. What that function
  /// does to this module comes first: when it asks for the unloading once more, nothing more
  /// happens; a handle that it detaches or replaces is left alone.
  void Unload();

  bool IsLoaded() const noexcept { return m_pHandle != nullptr; }
  void* GetLibHandle() const noexcept { return m_pHandle; }

  /// The address of a function that the library exports, or null. Functions of other libraries,
  /// such as those it depends on, are not found.
  void* GetSymbol(const ZTKString& name) const;

  /// Adopts a library that someone else loaded and keeps it loaded when the module is destroyed.
  /// Returns the handle held before, which is the caller's now.
  void* Attach(void* pHandle) noexcept;

  /// Gives the library away: it stays loaded, and the module forgets it and both names.
  void* Detach() noexcept;

 protected:
  /// Loads a library, makes it the module's and returns its handle. On failure it is reported, and
  /// the module has none. No function of the library is called.
  void* XPDllLoad(const ZTKString& libName);
  /// As `GetSymbol`.
  void* XPDllGetSymbol(const ZTKString& name) const;
  /// Unloads the library without a call of its clean-up function; the module has none then.
  void XPDllUnload();

 private:
  friend struct ZTKSystemLayout;

  // Bits of the flag.
  static constexpr int kAttached = 1;
  static constexpr int kUnloading = 2;  // Its clean-up function is being called.

  void CallFunction(const ZTKString& name) const;

  ZTKString m_initName;
  ZTKString m_cleanupName;
  void* m_pHandle = nullptr;
  int m_bAttached = 0;
};
