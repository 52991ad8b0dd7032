#pragma once

#include "ztk/platform/mac/services/apple_events.h"
#include "ztk/platform/mac/services/arrays.h"
#include "ztk/platform/mac/services/dialog_types.h"
#include "ztk/platform/mac/services/strings.h"

// The dialogs that ask for a file, shown by whatever back end the file dialog has here.
//
// While a dialog runs it calls its event procedure: once when it starts, before it is on screen,
// and whenever the user chooses a filter. A get-file dialog asks its filter procedure about every
// item that it is to show.
namespace ztk_mac_services {

constexpr OSErr userCanceledErr = -128;

constexpr std::uint32_t kNavDefaultOptions = 0xE4;
/// More than one file may be chosen. Not supported: creating such a dialog fails.
constexpr std::uint32_t kNavAllowMultipleFiles = 0x80;

/// The strings and the array stay the caller's; each may be null.
struct NavDialogCreationOptions {
  std::uint32_t optionFlags;
  CFStringRef windowTitle;
  CFStringRef saveFileName;
  CFArrayRef popupExtension;  ///< Of strings: the filters.
  void* parentWindow;
};

/// Sets the options of a plain dialog.
OSStatus NavGetDefaultDialogCreationOptions(NavDialogCreationOptions* pOptions) noexcept;

/// Creates a dialog that asks for a file. Lists of types and previews are not supported: both are
/// null.
OSStatus NavCreateGetFileDialog(const NavDialogCreationOptions* pOptions, const void* pTypes,
                                NavEventProcPtr pEvent, const void* pPreview,
                                NavObjectFilterProcPtr pFilter, void* pUserData,
                                NavDialogRef* pDialog) noexcept;

/// Creates a dialog that asks for a name to save under.
OSStatus NavCreatePutFileDialog(const NavDialogCreationOptions* pOptions, OSType type,
                                OSType creator, NavEventProcPtr pEvent, void* pUserData,
                                NavDialogRef* pDialog) noexcept;

/// Shows the dialog and waits for its end. Choosing and cancelling are both noErr.
OSStatus NavDialogRun(NavDialogRef dialog) noexcept;

/// The outcome. The selection is one reference: to the chosen file, or to the folder to save in.
struct NavReplyRecord {
  Boolean validRecord;
  AEDescList selection;
};
/// userCanceledErr when nothing was chosen.
OSStatus NavDialogGetReply(NavDialogRef dialog, NavReplyRecord* pReply) noexcept;

/// The name to save under, the dialog's own string; null when there is none.
CFStringRef NavDialogGetSaveFileName(NavDialogRef dialog) noexcept;
OSStatus NavDialogSetSaveFileName(NavDialogRef dialog, CFStringRef name) noexcept;

/// Goes to a folder (that of the descriptor, or where its file is), or selects a filter.
OSStatus NavCustomControl(NavDialogRef dialog, NavCustomControlMessage message,
                          void* pParam) noexcept;

void NavDialogDispose(NavDialogRef dialog) noexcept;

}  // namespace ztk_mac_services
