#pragma once

#include <algorithm>
#include <string>

#include "ztk/file/file_system.h"

// Paths of the host, as tests make and check files by them, and native paths, as the library that
// the test is linked with reads and writes them.

/// Whether native paths have colons: Volume:folder:name.
inline bool HasColonPaths() { return XPGetNativeSeparator() == ':'; }

/// Whether native paths are those of Windows: drive, folders, name.
inline bool HasDosPaths() { return XPGetNativeSeparator() == '\\'; }

/// Whether a test may make symbolic links: on Windows few users may, and Wine makes none.
inline bool HasLinks() { return !HasDosPaths(); }

/// The variable of the environment that tells where temporary files go.
inline const char* TempFolderVariable() { return HasDosPaths() ? "TMP" : "TMPDIR"; }

/// The native path of a file of the host.
inline std::string NativePath(const std::string& hostPath) {
  if (!HasColonPaths() || hostPath.empty()) return hostPath;
  std::string path = (hostPath.front() == '/' ? "System" : ":") + hostPath;
  std::replace(path.begin(), path.end(), '/', ':');
  return path;
}

/// The file of the host that a native path names.
inline std::string HostPath(const std::string& nativePath) {
  return XPMacPathToCompName(nativePath.c_str()).c_str();
}

/// The trace file of a process that works in this folder of the host. Where native paths have
/// colons it lies beside the folder: the ':' between the two becomes part of a name.
inline std::string TraceFileIn(const std::string& folder) {
  return folder + XPGetNativeSeparator() + "ztktrace.log";
}

/// The permissions, before the umask, of a new file for which these were asked. Where native paths
/// have colons, nobody asks.
inline int NewFilePermissions(int asked) { return HasColonPaths() ? 0666 : asked; }
