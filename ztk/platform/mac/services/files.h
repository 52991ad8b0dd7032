#pragma once

#include "ztk/platform/mac/services/types.h"

// Files by reference and by specification. Every call gives noErr or what went wrong, and writes
// nothing where it failed, unless it says so.
namespace ztk_mac_services {

/// Makes the FSSpec of what `name` says:
///
///     ""                    the folder `nDirectory` itself
///     "name"                in that folder
///     ":folder:name"        below that folder
///     "Volume:folder:name"  wherever that is, whatever the other arguments
///
/// Every further ':' in a row goes one folder up, never out of a volume. Volume and directory 0 are
/// those of the working directory of the process. fnfErr tells that all but the last name is
/// there: the FSSpec is written then, so that the file can be made.
OSErr FSMakeFSSpec(short nVolume, long nDirectory, const unsigned char* pName,
                   FSSpec* pSpec) noexcept;

/// Refers to the file that a specification names; it must exist.
OSErr FSpMakeFSRef(const FSSpec* pSpec, FSRef* pRef) noexcept;

/// Refers to a file by its path in slash style. Whether it is a folder is not told: `pIsDirectory`
/// is null.
OSErr FSPathMakeRef(const unsigned char* pszPath, FSRef* pRef, Boolean* pIsDirectory) noexcept;

using FSCatalogInfoBitmap = std::uint32_t;
constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;
struct FSCatalogInfo;
struct HFSUniStr255;

/// Gives the FSSpec of a file. The catalogue tells nothing else here: paramErr for other fields,
/// the long name and the folder.
OSErr FSGetCatalogInfo(const FSRef* pRef, FSCatalogInfoBitmap nFields, FSCatalogInfo* pInfo,
                       HFSUniStr255* pName, FSSpec* pSpec, FSRef* pParent) noexcept;

}  // namespace ztk_mac_services
