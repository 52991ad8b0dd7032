#pragma once

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

constexpr OSType kTemporaryFolderType = FourChars("temp");
constexpr OSType kPreferencesFolderType = FourChars("pref");

/// Refers to a folder of the user:
///
///     'temp'    $TMPDIR, else /tmp
///     'pref'    $XDG_CONFIG_HOME, else .config in the home folder
///
/// A missing one is made, for the user alone, where `bCreate` is not 0. fnfErr when there is none,
/// for another type, and on every volume but the start-up volume: the folders belong to the system,
/// wherever they lie.
OSErr FSFindFolder(short nVolume, OSType nType, Boolean bCreate, FSRef* pRef) noexcept;

}  // namespace ztk_mac_services
