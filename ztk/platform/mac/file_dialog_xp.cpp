#include "ztk/platform/mac/file_dialog_callbacks.h"

#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "ztk/file/file_system.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/apple_events.h"
#include "ztk/platform/mac/services/arrays.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/navigation.h"
#include "ztk/platform/mac/services/strings.h"
#include "ztk/system/internal/file_dialog_xp.h"

using namespace ztk_mac_services;

namespace {

constexpr long kColonStyle = 1;

// A system's string of a text, with a '?' for every character that is no ASCII.
CFStringRef CreateAsciiString(const ZTKString& text) {
  ZTKString ascii;
  for (const char ch : text.view()) {
    const auto byte = static_cast<unsigned char>(ch);
    const bool continues = (byte & 0xC0) == 0x80;  // A byte of the character before.
    if (byte < 0x80) {
      ascii.append(ch, 1);
    } else if (!continues) {
      ascii.append('?', 1);
    }
  }
  return CFStringCreateWithCString(kCFAllocatorDefault, ascii.c_str(), kCFStringEncodingASCII);
}

// The path of an item in colon style, whole and whatever form the item has; "" for a file that is
// gone. False for an item that is no file.
bool PathOf(const AEDesc& item, ZTKString& path) {
  FSSpec spec = {};
  if (item.descriptorType == typeFSRef && item.dataSize == sizeof(FSRef)) {
    FSRef given;
    std::memcpy(&given, item.data, sizeof given);
    FSGetCatalogInfo(&given, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr);
  } else if (item.descriptorType == typeFSS && item.dataSize == sizeof(FSSpec)) {
    std::memcpy(&spec, item.data, sizeof spec);
  } else {
    return false;
  }
  FSRef ref = {};
  if (FSpMakeFSRef(&spec, &ref) == noErr) ZTKMacFSRefToPath(&ref, path, kColonStyle);
  return true;
}

void ShowStart(NavDialogRef dialog, const OpenUserDataRec& rec) {
  if (rec.directory.Len() != 0) {
    // Either form of path will do, as everywhere.
    FSSpec folder = {};
    ZTKMacPOSIXFilename2FSSpec(XPMacPathToCompName(rec.directory.c_str()).c_str(), &folder);
    AEDesc place = {};
    if (folder.name[0] != 0 && AECreateDesc(typeFSS, &folder, sizeof folder, &place) == noErr) {
      NavCustomControl(dialog, kNavCtlSetLocation, &place);
    }
  }
  NavMenuItemSpec filter = {FourChars("ZTKM"), static_cast<std::uint32_t>(rec.nFilter), {}};
  c2pstrcpy(filter.menuItemName, rec.description.c_str());
  NavCustomControl(dialog, kNavCtlSelectCustomType, &filter);
}

void FollowFilter(NavDialogRef dialog, unsigned long nFilter, OpenUserDataRec& rec) {
  const CFStringRef current = NavDialogGetSaveFileName(dialog);
  ZTKString saveName = XPCFStringRefToZTKString(current);
  if (!ZTKChooseFilter(rec, nFilter, saveName) || current == nullptr) return;
  const CFOwned<const CFString> name(CreateAsciiString(saveName));
  NavDialogSetSaveFileName(dialog, name.get());
}

// The descriptions as the dialog's pop-up list; null when one of them is missing.
CFOwned<CFArray> MakePopUp(const ZTKStringArray& descriptions) {
  CFOwned<CFArray> list(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
  for (unsigned long i = 0; i < descriptions.GetCount(); ++i) {
    const CFOwned<const CFString> text(CreateAsciiString(descriptions.Item(i)));
    CFArrayAppendValue(list.get(), text.get());
  }
  const bool isWhole = CFArrayGetCount(list.get()) == static_cast<CFIndex>(descriptions.GetCount());
  return isWhole ? std::move(list) : nullptr;
}

}  // namespace

Boolean ZTKFilterCallback(AEDesc* pItem, void* pInfo, void* pRec, NavFilterModes mode) {
  const auto* const info = static_cast<const NavFileOrFolderInfo*>(pInfo);
  if (mode != kNavFilteringBrowserList || info == nullptr || info->isFolder != 0) return 1;
  ZTKString path;
  if (pItem == nullptr || !PathOf(*pItem, path)) return 1;
  return CheckFile(path, static_cast<const OpenUserDataRec*>(pRec)) ? 1 : 0;
}

void NavEventProc(NavEventCallbackMessage selector, NavCBRec* pParams, void* pRec) {
  auto& rec = *static_cast<OpenUserDataRec*>(pRec);
  if (selector == kNavCBStart) {
    ShowStart(pParams->context, rec);
  } else if (selector == kNavCBPopupMenuSelect) {
    FollowFilter(pParams->context, pParams->menuItem->menuType, rec);
  }
}

bool XPGetUserReply(NavDialogRef dialog, ZTKString& path, int nSave) {
  NavReplyRecord reply = {};
  if (NavDialogGetReply(dialog, &reply) != noErr || reply.validRecord == 0) return false;
  FSRef file = {};
  if (AEGetNthPtr(&reply.selection, 1, typeFSRef, nullptr, nullptr, &file, sizeof file, nullptr) !=
      noErr) {
    return false;
  }
  ZTKString chosen;
  ZTKMacFSRefToPath(&file, chosen, kColonStyle);
  if (chosen.Len() == 0) return false;
  if (nSave != 0) {
    const ZTKString name = XPCFStringRefToZTKString(NavDialogGetSaveFileName(dialog));
    if (name.Len() == 0) return false;
    chosen.append(':', 1).append(name);
  }
  path = chosen;
  return true;
}

ZTKString XPCFStringRefToZTKString(CFStringRef string) {
  const CFIndex length = CFStringGetLength(string);
  if (length == 0) return ZTKString();
  const std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(length)]);
  if (bytes == nullptr) return ZTKString();
  CFIndex used = 0;
  CFStringGetBytes(string, {0, length}, kCFStringEncodingASCII, '?', 0,
                   reinterpret_cast<unsigned char*>(bytes.get()), length, &used);
  return ZTKString(std::string_view(bytes.get(), static_cast<size_t>(used)));
}

int ZTKFileDLG::XPShowModal() {
  NavDialogCreationOptions options = {};
  if (NavGetDefaultDialogCreationOptions(&options) != noErr) return DLG_CANCEL;

  ZTKFileDialogStart start(*this);
  OpenUserDataRec& record = start.record;
  const unsigned long count = start.descriptions.GetCount();
  CFOwned<CFArray> popUp;
  if (count != 0) {
    popUp = MakePopUp(start.descriptions);
    if (popUp == nullptr) return DLG_CANCEL;
    options.popupExtension = popUp.get();
  }
  const CFOwned<const CFString> title(CreateAsciiString(m_title));
  options.windowTitle = title.get();
  options.parentWindow = m_pParent;

  NavDialogRef created = nullptr;
  CFOwned<const CFString> fileName;
  if (record.bSave == 0) {
    constexpr std::uint32_t kKeptOptions = 0x7F;
    options.optionFlags &= kKeptOptions;
    NavCreateGetFileDialog(&options, nullptr, NavEventProc, nullptr, ZTKFilterCallback, &record,
                           &created);
  } else {
    if (m_fileName.Len() != 0) fileName.reset(CreateAsciiString(m_fileName));
    options.saveFileName = fileName.get();
    NavCreatePutFileDialog(&options, typeWildCard, typeWildCard, NavEventProc, &record, &created);
  }
  const std::unique_ptr<NavDialog, decltype(&NavDialogDispose)> dialog(created, NavDialogDispose);
  if (dialog == nullptr || NavDialogRun(dialog.get()) != noErr) return DLG_CANCEL;

  ZTKString path;
  if (!XPGetUserReply(dialog.get(), path, record.bSave)) return DLG_CANCEL;
  m_path = path;
  if (count != 0) m_nFilterIndex = record.nFilter;
  return DLG_OK;
}
