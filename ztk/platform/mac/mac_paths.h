#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"
#include "ztk/platform/mac/services/types.h"

// Between paths and what the system's file services take. A style is 0 for paths with slashes and 1
// for paths with colons; texts are ASCII. On failure nothing is written.

/// Refers to the file `path`. A path with a character that is no ASCII names none.
ZTK_API void ZTKMacPathToFSRef(const ZTKString& path, ztk_mac_services::FSRef* pRef, long nStyle);

/// Appends the path of a file to `out`, with a '?' for every character that is no ASCII.
ZTK_API void ZTKMacFSRefToPath(const ztk_mac_services::FSRef* pRef, ZTKString& out, long nStyle);

/// Appends the path, in colon style, of one of the system's folders to `out`: 'temp' or 'pref' of a
/// volume, -32768 for the start-up volume. A missing one is made where `bCreate` is not 0.
ZTK_API void ZTKMacFindFolder(short nVolume, unsigned long nFolderType, unsigned char bCreate,
                              ZTKString& out);

// The path of what a specification names, at most `nSize` - 1 characters of it.
ZTK_API void ZTKMacFSSpec2POSIXFilename(const ztk_mac_services::FSSpec* pSpec, char* pszBuf,
                                        unsigned long nSize);
ZTK_API void ZTKMacFSSpec2HFSFilename(const ztk_mac_services::FSSpec* pSpec, char* pszBuf,
                                      unsigned long nSize);

// The FSSpec of the file that a path names.
ZTK_API void ZTKMacPOSIXFilename2FSSpec(const char* pszPath, ztk_mac_services::FSSpec* pSpec);
ZTK_API void ZTKMacHFSFilename2FSSpec(const char* pszPath, ztk_mac_services::FSSpec* pSpec);
