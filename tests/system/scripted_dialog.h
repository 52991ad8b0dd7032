#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ztk/file/file_system.h"
#include "ztk/system/file_dialog.h"
#include "ztk/system/file_dialog_backend.h"

// What the tests of the file dialog share.

/// Answers dialogs in place of a user: what it was asked, and what it does then.
class ScriptedBackend {
 public:
  ScriptedBackend() {
    s_pActive = this;
    ZTKSetFileDialogBackend(&kTable);
  }
  ~ScriptedBackend() {
    ZTKSetFileDialogBackend(nullptr);
    s_pActive = nullptr;
  }
  ScriptedBackend(const ScriptedBackend&) = delete;
  ScriptedBackend& operator=(const ScriptedBackend&) = delete;

  std::function<int(const ZTKFileDialogRequest&)> script = [](const auto&) { return 0; };
  const char* whyNot = nullptr;

  // What the last request held.
  std::string title, directory, fileName;
  int bSave = -1;
  void* parent = nullptr;
  std::vector<std::string> descriptions;
  unsigned long nFilter = 99;
  int runs = 0;

 private:
  static int Run(const ZTKFileDialogRequest* pRequest) {
    ScriptedBackend& self = *s_pActive;
    ++self.runs;
    self.title = pRequest->pszTitle;
    self.directory = pRequest->pszDirectory;
    self.fileName = pRequest->pszFileName;
    self.bSave = pRequest->bSave;
    self.parent = pRequest->pParent;
    self.nFilter = pRequest->nFilter;
    self.descriptions.assign(pRequest->ppszDescriptions,
                             pRequest->ppszDescriptions + pRequest->nFilterCount);
    return self.script(*pRequest);
  }
  static const char* WhyNot() { return s_pActive->whyNot; }

  static constexpr ZTKFileDialogBackend kTable = {ZTKFileDialogBackend::kVersion, "scripted",
                                                  WhyNot, Run};
  static inline ScriptedBackend* s_pActive = nullptr;
};

/// A script that chooses `path` at once.
inline auto Choose(std::string path) {
  return [path](const ZTKFileDialogRequest& request) {
    request.pfnChosen(request.pContext, path.c_str());
    return 1;
  };
}

inline ZTKFileDLG Dialog(unsigned long nStyle, const char* wildcard = "", const char* message = "",
                         const char* directory = "", const char* fileName = "") {
  return {nullptr, nStyle, wildcard, message, directory, fileName};
}

/// A path of the library's as the operating system takes it.
inline std::string HostPath(const ZTKString& path) {
  return XPMacPathToCompName(path.c_str()).c_str();
}
