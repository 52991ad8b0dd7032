// The dialog as it is asked of a back end, and what the back end asks while it is open.

#include <memory>
#include <new>

#include "ztk/system/event_loop.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace {

using TextList = std::unique_ptr<const char*[]>;

// One run of the dialog, as the back end's calls find it again.
struct Run {
  OpenUserDataRec& record;
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

// A pattern list as toolkits read it: without the items that match nothing.
ZTKString PlainPatterns(ZTKString items) {
  ZTKString plain;
  while (items.Len() != 0) {
    const ZTKString extension = ExtractExtension(items);
    if (extension.Len() == 0) continue;
    if (plain.Len() != 0) plain << ";";
    plain << (extension.IsSameAs("*", 1) ? "" : "*.") << extension;
  }
  return plain;
}

// The texts of an array, for a request. Null without memory.
TextList TextsOf(const ZTKStringArray& array) {
  const unsigned long count = array.GetCount();
  TextList texts(new (std::nothrow) const char*[count + 1]);
  if (texts == nullptr) return texts;
  for (unsigned long i = 0; i < count; ++i) texts[i] = array.Item(i).c_str();
  texts[count] = nullptr;
  return texts;
}

void Chosen(void* pContext, const char* pszPath) { static_cast<Run*>(pContext)->path = pszPath; }

}  // namespace

ZTKFileDialogStart::ZTKFileDialogStart(const ZTKFileDLG& dialog) {
  record.bSave = (dialog.GetStyle() & FD_OPEN) == 0 ? 1 : 0;
  record.directory = dialog.GetDirectory();
  ParseExtension(dialog.GetWildcard().c_str(), descriptions, record.patterns);
  const unsigned long count = descriptions.GetCount();
  if (count == 0) return;
  const int index = dialog.GetFilterIndex();
  const bool valid = index >= 0 && static_cast<unsigned long>(index) < count;
  record.nFilter = valid ? index : 0;
  record.description = descriptions.Item(static_cast<unsigned long>(record.nFilter));
}

bool ZTKShowFileDialog(const ZTKFileDLG& dialog, ZTKString& path, int32_t& nFilter) {
  ZTKString reason;
  const ZTKFileDialogBackend* const backend = ZTKFindFileDialogBackend(reason);
  if (backend == nullptr) return false;

  ZTKFileDialogStart start(dialog);
  const unsigned long count = start.descriptions.GetCount();
  ZTKStringArray plain;
  for (unsigned long i = 0; i < count; ++i)
    plain.Add(PlainPatterns(start.record.patterns.Item(i)), 1);
  const TextList titles = TextsOf(start.descriptions);
  const TextList patterns = TextsOf(plain);
  if (titles == nullptr || patterns == nullptr || plain.GetCount() != count) return false;

  Run run = {start.record, {}, {}};
  const ZTKString title = dialog.GetTitle();
  const ZTKString directory = dialog.GetDirectory();
  const ZTKString fileName = dialog.GetFilename();
  ZTKFileDialogRequest request = {};
  request.pszTitle = title.c_str();
  request.pszDirectory = directory.c_str();
  request.pszFileName = fileName.c_str();
  request.bSave = start.record.bSave;
  request.pParent = dialog.GetParent();
  request.nFilterCount = count;
  request.ppszDescriptions = titles.get();
  request.nFilter = static_cast<unsigned long>(start.record.nFilter);
  request.pContext = &run;
  request.pfnShowsFile = ShowsFile;
  request.pfnFilterChosen = FilterChosen;
  request.pfnChosen = Chosen;
  request.ppszPatterns = patterns.get();
  if (!ZTKRunFileDialog(*backend, request) || run.path.Len() == 0) return false;
  path = run.path;
  if (count != 0) nFilter = start.record.nFilter;
  return true;
}

bool ZTKRunFileDialog(const ZTKFileDialogBackend& backend, ZTKFileDialogRequest& request) {
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  request.nTimerFd = loop.GetFd();
  request.pfnServeTimers = [](void*) { ZTKEventLoop::Main().Dispatch(); };
  request.nTimerHandle = loop.GetWaitHandle();
  return backend.pfnRun(&request) == 1;
}
