#pragma once

// Changes to names in folders, told through one object that a loop can wait for.

#include <cstdint>
#include <initializer_list>
#include <string_view>

struct XPFolderWatch;

/// Watches no folder yet. Null where there is no such thing, or none is left.
XPFolderWatch* XPOpenFolderWatch() noexcept;
void XPCloseFolderWatch(XPFolderWatch* pWatch) noexcept;

/// What to wait for: it becomes readable, or signalled, when a name in one of the watched folders
/// changes, or a folder goes; not inherited by other programs.
std::intptr_t XPGetWatchHandle(const XPFolderWatch* pWatch) noexcept;
/// The same as a descriptor; -1 where the system has none.
int XPGetWatchFd(const XPFolderWatch* pWatch) noexcept;

/// Watches a folder; its number, which is the same for a folder that is watched already. -1 on
/// failure, with `bMissing` telling whether there is no such folder.
int XPWatchFolder(XPFolderWatch* pWatch, const char* pszFolder, bool& bMissing) noexcept;
void XPUnwatchFolder(XPFolderWatch* pWatch, int nFolder) noexcept;

/// Consumes the waiting changes, without waiting for more. Whether one of them may concern one of
/// these names.
bool XPConsumeChanges(XPFolderWatch* pWatch,
                      std::initializer_list<std::string_view> names) noexcept;
