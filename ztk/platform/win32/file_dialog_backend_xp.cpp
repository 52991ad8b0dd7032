// Finds the dialog plug-in at run time: nothing of it, nor of the window system, is loaded before a
// program asks for a dialog.

#include <new>

#include "ztk/platform/win32/loaded_module.h"
#include "ztk/platform/win32/system_function.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace {

using Entry = const ZTKFileDialogBackend* (*)();

const ZTKFileDialogBackend* LoadPlugIn(ZTKString& reason) {
  const std::wstring folder = FolderOfModule(OwnModule());
  if (folder.empty()) {
    reason = "the folder of the library is unknown";
    return nullptr;
  }
  std::string words;
  const HMODULE plugIn = LoadModule(folder + L"ztkdialog-win32.dll", words);
  if (plugIn == nullptr) {
    reason = words.c_str();
    return nullptr;
  }
  const auto entry = FunctionOf<Entry>(plugIn, "ztk_file_dialog_backend");
  if (entry == nullptr) {
    reason = "ztkdialog-win32.dll is not a dialog plug-in";
    FreeLibrary(plugIn);
    return nullptr;
  }
  return entry();  // It stays loaded, as what it loads does.
}

}  // namespace

const ZTKFileDialogBackend* XPLoadFileDialogBackend(ZTKString& reason) {
  static const ZTKFileDialogBackend* s_pLoaded = nullptr;
  if (s_pLoaded != nullptr) return s_pLoaded;
  try {
    s_pLoaded = LoadPlugIn(reason);
  } catch (const std::bad_alloc&) {
    reason = "out of memory";
  }
  return s_pLoaded;
}
