#pragma once

#include "ztk/system/file_dialog.h"
#include "ztk/system/file_dialog_backend.h"

/// Asked of a platform layer: loads the plug-in, once; null with the reason when that cannot be, or
/// would be harmful.
const ZTKFileDialogBackend* XPLoadFileDialogBackend(ZTKString& reason);

/// What a dialog begins with, by the settings of its object: copies, as the application may change
/// the object while the dialog is open.
struct ZTKFileDialogStart {
  explicit ZTKFileDialogStart(const ZTKFileDLG& dialog);

  OpenUserDataRec record;
  ZTKStringArray descriptions;
};

/// Has the back end show the object's dialog. True when a file was chosen: its path and, if there
/// are filters, the one that was selected then.
bool ZTKShowFileDialog(const ZTKFileDLG& dialog, ZTKString& path, int32_t& nFilter);

/// Runs a dialog, with the timers served meanwhile; the request needs nothing of these. True when a
/// file was chosen.
bool ZTKRunFileDialog(const ZTKFileDialogBackend& backend, ZTKFileDialogRequest& request);
