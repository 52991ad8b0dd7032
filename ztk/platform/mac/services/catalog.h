#pragma once

#include <string>
#include <string_view>

#include "ztk/platform/mac/services/types.h"

// Conversions between the services' references to files and paths of the host.
namespace ztk_mac_services {

/// A name of the platform as the host has it, or the other way round: ':' and '/' change places.
std::string SwappedName(std::string_view name);

/// The path of what a specification names, whether it exists or not.
OSErr HostPathOf(const FSSpec& spec, std::string& path);

/// The FSSpec of a path of the host, absolute or relative to the working directory. Links on
/// the way are followed, the last name stands for itself. fnfErr, with the FSSpec written,
/// when only the last name is missing.
OSErr SpecOfHostPath(const std::string& path, FSSpec& spec);

/// Refers to a file of the host, which must exist.
OSErr RefOfHostPath(const std::string& path, FSRef& ref);

/// The path of a folder; 0 and 0 stand for the working directory, any other volume's 0 for its own
/// folder.
OSErr HostFolderOf(short nVolume, long nDirectory, std::string& path);

/// The path of what the arguments of FSMakeFSSpec say.
OSErr HostPathOfName(short nVolume, long nDirectory, std::string_view name, std::string& path);

/// The path in colon style of a path of the host: "Volume:folder:name", "Volume:" for a volume. The
/// folder that holds the file must exist.
OSErr ColonPathOf(const std::string& path, std::string& colonPath);

}  // namespace ztk_mac_services
