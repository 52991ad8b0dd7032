#pragma once

#include <windows.h>

#include <string>

#include "ztk/system/file_dialog_backend.h"

/// The program's thread, as the dialog's thread sees it: whatever the program is asked or told
/// happens there.
class Win32Program {
 public:
  /// The user has chosen a filter. True when `name`, the save name, was changed.
  virtual bool FilterChosen(unsigned long nFilter, std::wstring& name) = 0;
  /// The dialog has this window from now on.
  virtual void Opened(HWND hWindow) = 0;

 protected:
  ~Win32Program() = default;
};

/// Whether the system can make a file dialog now. It needs a thread without a COM apartment.
bool Win32CanMakeDialog() noexcept;

/// Shows the dialog and waits for its end, on a thread without a COM apartment: the program's own
/// may have one of the wrong kind. True when a file was chosen, with its full path.
bool Win32ShowDialog(const ZTKFileDialogRequest& request, HWND hOwner, Win32Program& program,
                     std::wstring& path);

/// For texts that are shown: what is ill-formed becomes U+FFFD.
std::wstring Win32ToWide(const char* pszText);
/// For paths: "" for what is ill-formed, which names nothing.
std::wstring Win32ToWidePath(const char* pszPath);
std::string Win32ToUtf8(const std::wstring& text);
