#pragma once

#include <string>
#include <string_view>

#include "ztk/platform/mac/services/types.h"

// Between the places that the services speak of and the paths of the host.
namespace ztk_mac_services {

/// The path of what a specification names, whether it exists or not.
OSErr HostPathOf(const FSSpec& spec, std::string& path);

/// The FSSpec of a path of the host, absolute or relative to the working directory. Links on
/// the way are followed, the last name stands for itself. fnfErr, with the FSSpec written,
/// when only the last name is missing.
OSErr SpecOfHostPath(const std::string& path, FSSpec& spec);

/// The path of a folder; 0 and 0 stand for the working directory, any other volume's 0 for its own
/// folder.
OSErr HostFolderOf(short nVolume, long nDirectory, std::string& path);

/// Follows a colon path without a volume, such as ":folder:name" or "name", from a folder. The last
/// name need not exist.
OSErr FollowColonPath(std::string folder, std::string_view colonPath, std::string& path);

/// The path in colon style of a path of the host: "Volume:folder:name", "Volume:" for a volume. The
/// folder that holds the file must exist.
OSErr ColonPathOf(const std::string& path, std::string& colonPath);

}  // namespace ztk_mac_services
