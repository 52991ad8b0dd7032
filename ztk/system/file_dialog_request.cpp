#include <memory>
#include <new>

#include "ztk/system/file_dialog.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace {

// One run of the dialog, as the back end's calls find it again.
struct Run {
  OpenUserDataRec record;
  ZTKString saveName;
  ZTKString path;
};

int ShowsFile(void* pContext, unsigned long nFilter, const char* pszPath, int bFolder) {
  auto* const run = static_cast<Run*>(pContext);
  // The save dialog shows every file: any of them may be the one to replace.
  if (bFolder != 0 || pszPath == nullptr || run->record.bSave != 0) return 1;
  // A toolkit may ask for the files of a filter before it tells that the filter was chosen.
  const int32_t selected = run->record.nFilter;
  run->record.nFilter = static_cast<int32_t>(nFilter);
  ZTKString path(pszPath);
  const bool shown = CheckFile(path, &run->record);
  run->record.nFilter = selected;
  return shown ? 1 : 0;
}

const char* FilterChosen(void* pContext, unsigned long nFilter, const char* pszSaveName) {
  auto* const run = static_cast<Run*>(pContext);
  run->saveName = pszSaveName;
  return ZTKChooseFilter(run->record, nFilter, run->saveName) ? run->saveName.c_str() : nullptr;
}

void Chosen(void* pContext, const char* pszPath) { static_cast<Run*>(pContext)->path = pszPath; }

}  // namespace

int ZTKFileDLG::XPShowModal() {
  ZTKString reason;
  const ZTKFileDialogBackend* const backend = ZTKFindFileDialogBackend(reason);
  if (backend == nullptr) return DLG_CANCEL;

  Run run;
  run.record.bSave = (m_nStyle & FD_OPEN) == 0 ? 1 : 0;
  run.record.directory = m_directory;
  ZTKStringArray descriptions;
  ParseExtension(m_wildcard.c_str(), descriptions, run.record.patterns);

  const unsigned long count = descriptions.GetCount();
  const bool valid = m_nFilterIndex >= 0 && static_cast<unsigned long>(m_nFilterIndex) < count;
  run.record.nFilter = valid ? m_nFilterIndex : 0;
  const auto selected = static_cast<unsigned long>(run.record.nFilter);
  if (count != 0) run.record.description = descriptions.Item(selected);

  const std::unique_ptr<const char*[]> titles(new (std::nothrow) const char*[count + 1]);
  if (titles == nullptr) return DLG_CANCEL;
  for (unsigned long i = 0; i < count; ++i) titles[i] = descriptions.Item(i).c_str();
  titles[count] = nullptr;

  // The back end gets copies: the application may change this object while the dialog is open.
  const ZTKString title = m_title;
  const ZTKString fileName = m_fileName;
  ZTKFileDialogRequest request = {};
  request.pszTitle = title.c_str();
  request.pszDirectory = run.record.directory.c_str();
  request.pszFileName = fileName.c_str();
  request.bSave = run.record.bSave;
  request.pParent = m_pParent;
  request.nFilterCount = count;
  request.ppszDescriptions = titles.get();
  request.nFilter = selected;
  request.pContext = &run;
  request.pfnShowsFile = ShowsFile;
  request.pfnFilterChosen = FilterChosen;
  request.pfnChosen = Chosen;
  if (!ZTKRunFileDialog(*backend, request) || run.path.Len() == 0) return DLG_CANCEL;

  m_path = run.path;
  if (count != 0) m_nFilterIndex = run.record.nFilter;
  return DLG_OK;
}
