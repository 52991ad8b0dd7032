#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"
#include "ztk/platform/mac/services/dialog_types.h"
#include "ztk/system/file_dialog.h"

// What the system's navigation dialog calls while it runs, and what is asked of it afterwards. The
// record is the OpenUserDataRec of the run.

/// Whether the dialog shows an item. Folders, items without a file, items of which nothing is known
/// (`pInfo` null) and whatever is asked for another purpose than the list (`mode` not 0) are shown;
/// a file as CheckFile says of its path.
ZTK_API ztk_mac_services::Boolean ZTKFilterCallback(ztk_mac_services::AEDesc* pItem, void* pInfo,
                                                    void* pRec,
                                                    ztk_mac_services::NavFilterModes mode);

/// When the dialog starts: has it show the record's directory and select the record's filter. When
/// a filter was chosen: selects it in the record, and has the save name follow it.
ZTK_API void NavEventProc(ztk_mac_services::NavEventCallbackMessage selector,
                          ztk_mac_services::NavCBRec* pParams, void* pRec);

/// Stores the path, in colon style, of what was chosen: the file, or with `nSave` the folder, a ':'
/// and the save name. False, with the path as it was, when there is no choice.
ZTK_API bool XPGetUserReply(ztk_mac_services::NavDialogRef dialog, ZTKString& path, int nSave);

/// The characters of a system's string, with a '?' for every one that is no ASCII; "" for null.
ZTK_API ZTKString XPCFStringRefToZTKString(ztk_mac_services::CFStringRef string);
