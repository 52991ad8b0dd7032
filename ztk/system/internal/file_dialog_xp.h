#pragma once

#include "ztk/system/file_dialog_backend.h"

/// Asked of a platform layer: loads the plug-in, once; null with the reason when that cannot be, or
/// would be harmful.
const ZTKFileDialogBackend* XPLoadFileDialogBackend(ZTKString& reason);

/// Runs a dialog, with the timers served meanwhile; the request needs nothing of these. True when a
/// file was chosen.
bool ZTKRunFileDialog(const ZTKFileDialogBackend& backend, ZTKFileDialogRequest& request);
