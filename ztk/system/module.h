#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"

/// A dynamic library, loaded at run time, whose functions are looked up by name.
///
/// A module may name two functions of it, without arguments or result: one to be called right after
/// loading, one right before unloading. An empty or unknown name calls nothing.
///
/// Libraries are looked for in the folder of the running program (links resolved) and nowhere else,
/// first by the name, which may contain "/", then as `lib<name>.so`. A failure is reported on the
/// standard error stream: "Load Shared Library <name> Error!!" and, on the next line, the loader's
/// reason. (The colon-path library looks for the name itself in the folder around the program's
/// package, and reports a failure in one line.)
///
/// The destructor unloads the library, unless it came from `Attach`. One thread at a time.
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

  /// Loads a library and calls its init function. True when it was loaded and an init function is
  /// named, whether or not the library has it. Without such a name it stays loaded although the
  /// result is false: ask `IsLoaded()`. A library held before is forgotten, not unloaded.
  bool Load(const ZTKString& libName);

  /// Calls the clean-up function and unloads the library, an attached one too. When that function
  /// unloads once more, nothing more happens; a handle that it detaches or replaces stays.
  void Unload();

  bool IsLoaded() const noexcept { return m_pHandle != nullptr; }
  void* GetLibHandle() const noexcept { return m_pHandle; }

  /// The address of a function that the library itself exports, or null.
  void* GetSymbol(const ZTKString& name) const;

  /// Adopts a library that someone else loaded and keeps it loaded when the module is destroyed.
  /// Returns the handle held before, which is the caller's now.
  void* Attach(void* pHandle) noexcept;

  /// Gives the library away: it stays loaded, and the module forgets it and both names.
  void* Detach() noexcept;

 protected:
  /// Loads a library without calling its functions. A failure is reported and leaves none.
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
