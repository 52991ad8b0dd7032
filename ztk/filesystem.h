#pragma once

// Between file names and std::filesystem::path. Opt-in: no other header includes it.

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"

namespace ztk_std_path {

using Path = std::filesystem::path;

// Whether paths are wide, as on Windows. There a narrow text would be one of the code page.
inline constexpr bool kIsWide = !std::is_same_v<Path::value_type, char>;

inline std::string ToUtf8(const Path& path) {
  if constexpr (kIsWide) {
    const auto text = path.generic_u8string();
    return std::string(text.begin(), text.end());
  } else {
    return path.generic_string();
  }
}

inline Path FromUtf8(std::string_view text) {
  if constexpr (kIsWide) {
#ifdef __cpp_char8_t
    return Path(std::u8string(text.begin(), text.end()));
#else
    return std::filesystem::u8path(text);
#endif
  } else {
    return Path(std::string(text));
  }
}

// The name apart, with a dot at its end, which would be taken for the mark of an empty extension.
inline ZTKFileName Join(const ZTKString& folder, const std::string& name, ZTKPathFormat format) {
  ZTKString base(name.c_str());
  ZTKString ext;
  if (name.empty() || name.back() != '.') {
    ZTKFileName::SplitPath(ZTKString(name.c_str()), nullptr, &base, &ext, format);
  }
  ZTKFileName joined;
  joined.Assign(ZTKString(), folder, base, ext, format);
  return joined;
}

// A name that is the whole path: without a ':' in front of it, it is taken as it is.
inline ZTKFileName Whole(const std::string& path, bool isRelative) {
  ZTKFileName name;
  name.Assign(ZTKString(), ZTKString(), ZTKString(path.c_str()), ZTKString(), ZTKPathNative);
  if (!isRelative) name.XPNormalize(0, ZTKString(), ZTKPathNative);
  return name;
}

inline bool HasDots(const std::string& text) {
  const std::string framed = '/' + text + '/';
  return framed.find("/./") != std::string::npos || framed.find("/../") != std::string::npos;
}

// Where native paths have colons. A ':' in a name, and steps up, have no place between them.
inline ZTKFileName FromSlashes(const std::string& text) {
  constexpr size_t kMaxRelative = 1000;
  const bool isAbsolute = !text.empty() && text.front() == '/';
  const bool isRelative =
      !isAbsolute && text.find(':') == std::string::npos && text.size() < kMaxRelative;
  if (!HasDots(text) && (isAbsolute || isRelative)) {
    const size_t nameStart = text.rfind('/') + 1;
    const std::string fileName = text.substr(nameStart);
    std::string folder = text.substr(0, nameStart);
    if (isAbsolute) {
      folder = XPCompNameToMacPath(folder.c_str()).view();
    } else {
      std::replace(folder.begin(), folder.end(), '/', ':');
      folder.insert(0, 1, ':');
    }
    ZTKFileName name = Join(ZTKString(folder.c_str()), fileName, ZTKPathNative);
    const bool isShort = folder.size() + fileName.size() < kMaxRelative;
    if (!folder.empty() && isShort && fileName.find(':') == std::string::npos) return name;
  }
  if (isAbsolute || isRelative) return Whole(text, isRelative);
  std::error_code error;
  return Whole(std::filesystem::absolute(text, error).string(), false);
}

}  // namespace ztk_std_path

/// The same file for the standard library: what the operations of this library open for the name's
/// native path, with slashes. The volume of a syntax that has none natively is left out.
inline std::filesystem::path ZTKToStdPath(const ZTKFileName& name) {
  const ZTKString native = name.GetFullPath(ZTKPathNative);
  return ztk_std_path::FromUtf8(XPMacPathToCompName(native.c_str()).view());
}

/// The parts of a path, of which `ZTKToStdPath` makes a path to the same file. A separator at the
/// end means a folder: "a/b/" has the directories a and b and no name. A path ends at its first
/// NUL, as for every operation of the system.
///
/// Where native paths have slashes, separators in a row count as one, and apart from that an equal
/// path comes back. Where they have colons, the first directory of an absolute path is its volume,
/// and a path that cannot be written with colons (one with "..", or a ':' in a name) is one name; a
/// relative one with a ':' becomes absolute. On Windows names are UTF-8, and the separators of what
/// comes back are backslashes, which makes an equal path.
inline ZTKFileName ZTKFromStdPath(const std::filesystem::path& path) {
  std::string text = ztk_std_path::ToUtf8(path);
  text.resize(std::char_traits<char>::length(text.c_str()));
  if (!ZTKFileName::IsPathSeparator('/', ZTKPathNative)) return ztk_std_path::FromSlashes(text);
  // What Windows takes apart in another way, drives above all, has both separators.
  const ZTKPathFormat format =
      ZTKFileName::IsPathSeparator('\\', ZTKPathNative) ? ZTKPathNative : ZTKPathUnix;
  if (text.empty() || text.back() != '.') return ZTKFileName(ZTKString(text.c_str()), format);
  const size_t nameStart = text.rfind('/') + 1;  // 0 without a separator.
  return ztk_std_path::Join(ZTKString(text.substr(0, nameStart).c_str()), text.substr(nameStart),
                            format);
}
