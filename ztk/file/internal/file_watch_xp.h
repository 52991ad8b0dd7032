#pragma once

// Changes to names in folders, told through one descriptor.

#include <initializer_list>
#include <string_view>

/// Becomes readable when a name in one of the watched folders changes, or a folder goes; closed on
/// exec. -1 where there is no such thing, or none is left.
int XPOpenFolderWatch() noexcept;
void XPCloseFolderWatch(int nFd) noexcept;

/// Watches a folder; its number, which is the same for a folder that is watched already. -1 on
/// failure, with `bMissing` telling whether there is no such folder.
int XPWatchFolder(int nFd, const char* pszFolder, bool& bMissing) noexcept;
void XPUnwatchFolder(int nFd, int nFolder) noexcept;

/// Consumes the waiting changes, without waiting for more. Whether one of them may concern one of
/// these names.
bool XPConsumeChanges(int nFd, std::initializer_list<std::string_view> names) noexcept;
