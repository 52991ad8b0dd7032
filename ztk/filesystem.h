#pragma once

// Between file names and std::filesystem::path. Opt-in: no other header includes it.

#include <filesystem>
#include <string>
#include <string_view>

#include "ztk/file/file_name.h"

/// The same file for the standard library: the path with slashes, which every platform's
/// std::filesystem reads. A volume, which such a path has no place for, is left out.
inline std::filesystem::path ZTKToStdPath(const ZTKFileName& name) {
  return std::filesystem::path(std::string(name.GetFullPath(ZTKPathUnix).view()));
}

/// The parts of a path. A separator at the end means a folder: "a/b/" has the directories a and b
/// and no name. Separators in a row count as one; apart from that `ZTKToStdPath` gives an equal
/// path back. A path ends at its first NUL, as for every operation of the system.
inline ZTKFileName ZTKFromStdPath(const std::filesystem::path& path) {
  std::string text = path.generic_string();
  text.resize(std::char_traits<char>::length(text.c_str()));
  // A dot at the end would be taken for the mark of an empty extension, and be lost with it.
  if (text.empty() || text.back() != '.') return ZTKFileName(ZTKString(text.c_str()), ZTKPathUnix);
  const size_t nameStart = text.rfind('/') + 1;  // 0 without a separator.
  ZTKFileName name;
  name.Assign(ZTKString(), ZTKString(std::string_view(text).substr(0, nameStart)),
              ZTKString(text.c_str() + nameStart), ZTKString(), ZTKPathUnix);
  return name;
}
