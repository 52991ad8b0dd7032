#pragma once

#include "ztk/export.h"
#include "ztk/platform/mac/services/types.h"

// Where modules are, and how one of them becomes a bundle. Both give noErr or the first error.

/// Finds the folder that holds the application's package: three above the folder of the running
/// executable, so for "Name.app/Contents/Exec/name" the one with "Name.app" in it. Writes nothing
/// on an error; a volume is never left.
ZTK_API ztk_mac_services::OSErr FindApplicationPackageDirectory(short* pVolume, long* pDirectory);

/// Makes the bundle of a file that exists; null when nothing can be loaded from there. When no URL
/// can be made of the file, `*ppBundle` is left untouched, and that is no error. The caller owns a
/// reference, which a ZTKModule that the bundle is attached to releases in `Unload`.
ZTK_API ztk_mac_services::OSErr CreateBundleFromFSSpec(ztk_mac_services::FSSpec* pSpec,
                                                       ztk_mac_services::__CFBundle** ppBundle);
