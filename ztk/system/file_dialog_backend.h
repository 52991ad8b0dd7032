#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/string.h"

/// What a dialog back end is asked for: plain data and functions, so that a plug-in needs nothing
/// of the library. Valid until Run returns; texts are NUL-terminated and never null.
struct ZTKFileDialogRequest {
  const char* pszTitle;
  const char* pszDirectory;  ///< Where to begin; "" is the working directory.
  const char* pszFileName;   ///< The save name to begin with; may be "".
  int bSave;      ///< 0: choose an existing file. Else: a name, asking before overwriting.
  void* pParent;  ///< As the application gave it; of unknown type.

  unsigned long nFilterCount;  ///< 0: no filter pop-up.
  const char* const* ppszDescriptions;
  unsigned long nFilter;  ///< The filter to begin with, below the count.

  void* pContext;  ///< First argument of the functions below.
  /// Whether filter `nFilter` shows the file; folders are always shown.
  int (*pfnShowsFile)(void* pContext, unsigned long nFilter, const char* pszPath, int bFolder);
  /// To be told when the user chooses a filter. Returns the name that the save name becomes, valid
  /// until the next call, or null when it stays.
  const char* (*pfnFilterChosen)(void* pContext, unsigned long nFilter, const char* pszSaveName);
  /// Takes the full path of the choice; counts only when Run then returns 1.
  void (*pfnChosen)(void* pContext, const char* pszPath);

  /// While the dialog is open: call pfnServeTimers whenever this descriptor is readable, so that
  /// timers keep firing. −1: there is nothing to serve.
  int nTimerFd;
  void (*pfnServeTimers)(void* pContext);

  // Older libraries end here: a plug-in that is not installed with its library cannot rely on the
  // rest.

  /// The same to wait for on every platform: the descriptor, or on Windows a handle.
  std::intptr_t nTimerHandle;
  /// What each filter shows, for a toolkit that takes patterns alone: "*.PNG;*.JPG", "*" for every
  /// file. As many as there are descriptions. They show what pfnShowsFile does, or more; null when
  /// that alone can tell.
  const char* const* ppszPatterns;
};

/// Shows file dialogs: a table that the plug-in gives, or an application (to show dialogs of its
/// own, or to answer them in a test).
struct ZTKFileDialogBackend {
  static constexpr uint32_t kVersion = 1;

  uint32_t nVersion;    ///< kVersion; another is refused.
  const char* pszName;  ///< "gtk3", for example.
  /// Null when a dialog could be shown now; else why not, valid until the next call. The function
  /// itself may be null: then a dialog can always be shown.
  const char* (*pfnWhyNot)();
  /// Shows the dialog and waits for its end: 1 when a file was chosen, 0 otherwise.
  int (*pfnRun)(const ZTKFileDialogRequest* pRequest);
};

/// Installs a back end in place of the plug-in; null goes back to the plug-in. The table must stay
/// valid while it is installed.
ZTK_API void ZTKSetFileDialogBackend(const ZTKFileDialogBackend* pBackend) noexcept;

/// The back end that can show a dialog now, with its name in `text`; else null, with the reason.
ZTK_API const ZTKFileDialogBackend* ZTKFindFileDialogBackend(ZTKString& text);
