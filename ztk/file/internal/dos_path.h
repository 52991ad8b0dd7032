#pragma once

#include <cstddef>
#include <string_view>

// Dos paths as Windows takes them: also shares and the system's own names are volumes.

inline bool ZTKIsDosSeparator(char ch) noexcept { return ch == '\\' || ch == '/'; }

/// How many characters the volume at the start of a path takes, with what leads up to it. There
/// may be '/' for every '\'.
///
///     path                        volume              what is left
///     C:\dir, C:dir               C:                  \dir, dir
///     \\server\share\dir          \\server\share      \dir
///     \\server                    \\server
///     \\?\C:\dir                  \\?\C:              \dir
///     \\?\UNC\server\share\dir    \\?\UNC\server\share  \dir
///     \\.\pipe\name               \\.\pipe            \name
///     \dir, dir, f.txt:stream                         all of it
size_t ZTKDosVolumeLength(std::string_view path) noexcept;
