#include "ztk/platform/mac/services/navigation.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/system/internal/file_dialog_xp.h"

namespace ztk_mac_services {

namespace {

CFStringRef Retained(CFStringRef string) {
  CFRetain(string);
  return string;
}

}  // namespace

/// A dialog, and the answers to what its back end asks while it runs.
class NavDialog {
 public:
  NavDialog(const NavDialogCreationOptions& options, bool isSave, NavEventProcPtr pEvent,
            NavObjectFilterProcPtr pFilter, void* pUserData);

  OSErr Run();
  OSErr GetReply(NavReplyRecord& reply) const;
  OSErr SetLocation(const AEDesc& desc);
  OSErr Select(const NavMenuItemSpec& item);
  CFStringRef SaveName() const noexcept { return m_saveName.get(); }
  void SetSaveName(CFStringRef name) noexcept { m_saveName.reset(Retained(name)); }

 private:
  static NavDialog& From(void* pContext) { return *static_cast<NavDialog*>(pContext); }
  static int ShowsFile(void* pContext, unsigned long nFilter, const char* pszPath, int bFolder);
  static const char* FilterChosen(void* pContext, unsigned long nFilter, const char* pszSaveName);
  static void Chosen(void* pContext, const char* pszPath);

  void TellChosen(unsigned long nFilter);
  bool Shows(const char* pszPath, bool isFolder);
  OSErr MakeReply(const std::string& path);

  const std::string m_title;
  std::vector<std::string> m_descriptions;
  CFOwned<const CFString> m_saveName;
  void* const m_pParent;
  const bool m_isSave;
  const NavEventProcPtr m_pEvent;
  const NavObjectFilterProcPtr m_pFilter;
  void* const m_pUserData;

  std::string m_location;       // A folder of the host; "" is the working directory.
  unsigned long m_nFilter = 0;  // As the user has it.
  unsigned long m_nTold = 0;    // As the event procedure has it.
  std::string m_hostName;       // What FilterChosen gave last.
  std::string m_choice;         // The path that the back end has told.
  bool m_hasReply = false;
  FSRef m_reply{};
};

NavDialog::NavDialog(const NavDialogCreationOptions& options, bool isSave, NavEventProcPtr pEvent,
                     NavObjectFilterProcPtr pFilter, void* pUserData)
    : m_title(ToUtf8(options.windowTitle)),
      m_saveName(Retained(options.saveFileName)),
      m_pParent(options.parentWindow),
      m_isSave(isSave),
      m_pEvent(pEvent),
      m_pFilter(pFilter),
      m_pUserData(pUserData) {
  if (options.popupExtension == nullptr) return;
  for (const CFTypeRef item : options.popupExtension->Items()) {
    m_descriptions.push_back(ToUtf8(static_cast<CFStringRef>(item)));
  }
}

OSErr NavDialog::Run() {
  ZTKString reason;
  const ZTKFileDialogBackend* const backend = ZTKFindFileDialogBackend(reason);
  if (backend == nullptr) return ioErr;

  m_hasReply = false;
  m_choice.clear();
  NavCBRec start = {this, nullptr};
  if (m_pEvent != nullptr) m_pEvent(kNavCBStart, &start, m_pUserData);

  std::vector<const char*> titles;
  for (const std::string& description : m_descriptions) titles.push_back(description.c_str());
  titles.push_back(nullptr);
  const std::string name = SwappedName(ToUtf8(SaveName()));

  ZTKFileDialogRequest request = {};
  request.pszTitle = m_title.c_str();
  request.pszDirectory = m_location.c_str();
  request.pszFileName = name.c_str();
  request.bSave = m_isSave ? 1 : 0;
  request.pParent = m_pParent;
  request.nFilterCount = static_cast<unsigned long>(m_descriptions.size());
  request.ppszDescriptions = titles.data();
  request.nFilter = m_nFilter;
  request.pContext = this;
  request.pfnShowsFile = ShowsFile;
  request.pfnFilterChosen = FilterChosen;
  request.pfnChosen = Chosen;
  if (!ZTKRunFileDialog(*backend, request) || m_choice.empty()) return noErr;
  return MakeReply(m_choice);
}

// From a path of the host. The folder must exist, and the file unless it is to be saved.
OSErr NavDialog::MakeReply(const std::string& path) {
  FSSpec file;
  const OSErr error = SpecOfHostPath(path, file);
  if (error != noErr && !(m_isSave && error == fnfErr)) return error;
  m_reply.place = file;
  if (m_isSave) {
    const std::string name(reinterpret_cast<const char*>(file.name + 1), file.name[0]);
    CFOwned<const CFString> saveName(CreateString(name));
    if (saveName == nullptr) return memFullErr;
    const size_t slash = path.rfind('/') + 1;
    const OSErr inFolder = SpecOfHostPath(slash == 0 ? "." : path.substr(0, slash), m_reply.place);
    if (inFolder != noErr) return inFolder;
    m_saveName = std::move(saveName);
  }
  m_hasReply = true;
  return noErr;
}

OSErr NavDialog::GetReply(NavReplyRecord& reply) const {
  if (!m_hasReply) return userCanceledErr;
  NavReplyRecord filled = {1, {1, {}}};
  const OSErr error = AECreateDesc(typeFSRef, &m_reply, sizeof m_reply, &filled.selection.item);
  if (error == noErr) reply = filled;
  return error;
}

OSErr NavDialog::SetLocation(const AEDesc& desc) {
  FSSpec spec;
  if (desc.descriptorType == typeFSS && desc.dataSize == sizeof(FSSpec)) {
    std::memcpy(&spec, desc.data, sizeof spec);
  } else if (desc.descriptorType == typeFSRef && desc.dataSize == sizeof(FSRef)) {
    FSRef ref;
    std::memcpy(&ref, desc.data, sizeof ref);
    spec = ref.place;
  } else {
    return paramErr;
  }
  std::string path;
  if (const OSErr error = HostPathOf(spec, path); error != noErr) return error;
  if (!XPIsFolder(path.c_str())) path.resize(std::max<size_t>(path.rfind('/'), 1));
  if (!XPIsFolder(path.c_str())) return dirNFErr;
  m_location = path;
  return noErr;
}

OSErr NavDialog::Select(const NavMenuItemSpec& item) {
  if (item.menuType >= m_descriptions.size()) return paramErr;
  m_nFilter = item.menuType;
  m_nTold = m_nFilter;
  return noErr;
}

// Tells the event procedure that a filter was chosen.
void NavDialog::TellChosen(unsigned long nFilter) {
  m_nTold = nFilter;
  NavMenuItemSpec item = {FourChars("ZTKM"), static_cast<std::uint32_t>(nFilter), {}};
  if (nFilter < m_descriptions.size())
    c2pstrcpy(item.menuItemName, m_descriptions[nFilter].c_str());
  NavCBRec chosen = {this, &item};
  if (m_pEvent != nullptr) m_pEvent(kNavCBPopupMenuSelect, &chosen, m_pUserData);
}

bool NavDialog::Shows(const char* pszPath, bool isFolder) {
  AEDesc item = {};
  item.descriptorType = typeNull;
  if (pszPath != nullptr) {
    FSRef file{};
    // What went away meanwhile is not shown.
    if (RefOfHostPath(pszPath, file) != noErr) return false;
    if (AECreateDesc(typeFSRef, &file, sizeof file, &item) != noErr) return false;
  }
  NavFileOrFolderInfo info = {static_cast<Boolean>(isFolder ? 1 : 0)};
  return m_pFilter(&item, &info, m_pUserData, kNavFilteringBrowserList) != 0;
}

int NavDialog::ShowsFile(void* pContext, unsigned long nFilter, const char* pszPath, int bFolder) {
  NavDialog& dialog = From(pContext);
  if (dialog.m_pFilter == nullptr) return 1;
  return Guarded(0, [&] {
    // A back end may ask for the files of a filter before it tells that the filter was chosen, but
    // the filter procedure knows of the chosen one alone.
    const unsigned long asked = nFilter < dialog.m_descriptions.size() ? nFilter : 0;
    if (asked != dialog.m_nTold) dialog.TellChosen(asked);
    const bool shown = dialog.Shows(pszPath, bFolder != 0);
    if (dialog.m_nTold != dialog.m_nFilter) dialog.TellChosen(dialog.m_nFilter);
    return shown ? 1 : 0;
  });
}

const char* NavDialog::FilterChosen(void* pContext, unsigned long nFilter,
                                    const char* pszSaveName) {
  NavDialog& dialog = From(pContext);
  return Guarded<const char*>(nullptr, [&]() -> const char* {
    CFOwned<const CFString> typed(CreateString(SwappedName(pszSaveName)));
    if (typed == nullptr) return nullptr;
    dialog.SetSaveName(typed.get());
    if (nFilter < dialog.m_descriptions.size()) dialog.m_nFilter = nFilter;
    dialog.TellChosen(nFilter);
    dialog.m_nTold = dialog.m_nFilter;
    if (dialog.SaveName() == typed.get()) return nullptr;
    dialog.m_hostName = SwappedName(ToUtf8(dialog.SaveName()));
    return dialog.m_hostName.c_str();
  });
}

void NavDialog::Chosen(void* pContext, const char* pszPath) {
  Guarded(0, [&] {
    From(pContext).m_choice = pszPath;
    return 0;
  });
}

namespace {

OSStatus Create(const NavDialogCreationOptions* pOptions, bool isSave, NavEventProcPtr pEvent,
                NavObjectFilterProcPtr pFilter, void* pUserData, NavDialogRef* pDialog) {
  if (Faults::Hit()) return memFullErr;
  if (pOptions == nullptr || pDialog == nullptr) return paramErr;
  return Guarded<OSStatus>(memFullErr, [&] {
    *pDialog = new NavDialog(*pOptions, isSave, pEvent, pFilter, pUserData);
    return noErr;
  });
}

}  // namespace

OSStatus NavGetDefaultDialogCreationOptions(NavDialogCreationOptions* pOptions) noexcept {
  if (Faults::Hit() || pOptions == nullptr) return paramErr;
  *pOptions = {};
  pOptions->optionFlags = kNavDefaultOptions;
  return noErr;
}

OSStatus NavCreateGetFileDialog(const NavDialogCreationOptions* pOptions, const void* pTypes,
                                NavEventProcPtr pEvent, const void* pPreview,
                                NavObjectFilterProcPtr pFilter, void* pUserData,
                                NavDialogRef* pDialog) noexcept {
  if (pTypes != nullptr || pPreview != nullptr) return paramErr;
  if (pOptions != nullptr && (pOptions->optionFlags & kNavAllowMultipleFiles) != 0) return paramErr;
  return Create(pOptions, false, pEvent, pFilter, pUserData, pDialog);
}

OSStatus NavCreatePutFileDialog(const NavDialogCreationOptions* pOptions, OSType /*type*/,
                                OSType /*creator*/, NavEventProcPtr pEvent, void* pUserData,
                                NavDialogRef* pDialog) noexcept {
  return Create(pOptions, true, pEvent, nullptr, pUserData, pDialog);
}

OSStatus NavDialogRun(NavDialogRef dialog) noexcept {
  if (Faults::Hit()) return ioErr;
  if (dialog == nullptr) return paramErr;
  return Guarded<OSStatus>(memFullErr, [&] { return dialog->Run(); });
}

OSStatus NavDialogGetReply(NavDialogRef dialog, NavReplyRecord* pReply) noexcept {
  if (Faults::Hit()) return ioErr;
  if (dialog == nullptr || pReply == nullptr) return paramErr;
  return dialog->GetReply(*pReply);
}

CFStringRef NavDialogGetSaveFileName(NavDialogRef dialog) noexcept {
  return Faults::Hit() || dialog == nullptr ? nullptr : dialog->SaveName();
}

OSStatus NavDialogSetSaveFileName(NavDialogRef dialog, CFStringRef name) noexcept {
  if (Faults::Hit() || dialog == nullptr || name == nullptr) return paramErr;
  dialog->SetSaveName(name);
  return noErr;
}

OSStatus NavCustomControl(NavDialogRef dialog, NavCustomControlMessage message,
                          void* pParam) noexcept {
  if (Faults::Hit() || dialog == nullptr || pParam == nullptr) return paramErr;
  return Guarded<OSStatus>(memFullErr, [&]() -> OSStatus {
    switch (message) {
      case kNavCtlSetLocation:
        return dialog->SetLocation(*static_cast<const AEDesc*>(pParam));
      case kNavCtlSelectCustomType:
        return dialog->Select(*static_cast<const NavMenuItemSpec*>(pParam));
      default:
        return paramErr;
    }
  });
}

void NavDialogDispose(NavDialogRef dialog) noexcept { delete dialog; }

}  // namespace ztk_mac_services
