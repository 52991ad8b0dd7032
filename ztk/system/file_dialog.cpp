#include "ztk/system/file_dialog.h"

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace {

const ZTKFileDialogBackend* s_pInstalled = nullptr;

const char* DefaultTitle(unsigned long nStyle) {
  if ((nStyle & FD_SAVE) != 0) return "Save file";
  if ((nStyle & FD_SAVE_AS) != 0) return "Save as";
  return "Open file";
}

}  // namespace

void ZTKSetFileDialogBackend(const ZTKFileDialogBackend* pBackend) noexcept {
  s_pInstalled = pBackend;
}

const ZTKFileDialogBackend* ZTKFindFileDialogBackend(ZTKString& text) {
  const ZTKFileDialogBackend* const backend =
      s_pInstalled != nullptr ? s_pInstalled : XPLoadFileDialogBackend(text);
  if (backend == nullptr) return nullptr;
  if (backend->nVersion != ZTKFileDialogBackend::kVersion || backend->pfnRun == nullptr) {
    text = "the back end was made for another version of the library";
    return nullptr;
  }
  const char* const reason = backend->pfnWhyNot != nullptr ? backend->pfnWhyNot() : nullptr;
  text = reason != nullptr ? reason : backend->pszName;
  return reason == nullptr ? backend : nullptr;
}

ZTKFileDLG::ZTKFileDLG(void* pParent, unsigned long nStyle, const ZTKString& wildcard,
                       const ZTKString& message, const ZTKString& directory,
                       const ZTKString& fileName)
    : m_title(message.Len() != 0 ? message : ZTKString(DefaultTitle(nStyle))),
      m_nStyle(static_cast<uint32_t>(nStyle)),
      m_pParent(pParent),
      m_directory(directory),
      m_fileName(fileName),
      m_wildcard(wildcard) {}

ZTKFileDLG::~ZTKFileDLG() = default;

int ZTKFileDLG::ShowModal() {
  const int result = XPShowModal();
  if (result != DLG_OK) return result;

  SplitFullPath(m_path);
  if ((m_nStyle & FD_CHANGE_DIR) != 0 && m_directory.Len() != 0) {
    // A directory that went away in the meantime leaves the working directory; the choice stands.
    (void)ZTKSetWorkingDirectory(m_directory);
  }
  return result;
}

void ZTKFileDLG::SplitFullPath(const ZTKString& path) {
  ZTKString name;
  ZTKString extension;
  ZTKFileName::SplitPath(path, &m_directory, &name, &extension, ZTKPathNative);
  if (extension.Len() != 0) name.append('.', 1).append(extension);
  m_fileName = name;
}

void ZTKFileDLG::GetPaths(ZTKStringArray&) const {}
void ZTKFileDLG::GetFilenames(ZTKStringArray&) const {}

bool ZTKFileDLG::QueryBackEnd(ZTKString& text) { return ZTKFindFileDialogBackend(text) != nullptr; }
