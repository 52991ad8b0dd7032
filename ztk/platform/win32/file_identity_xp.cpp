// What kind of file a path leads to, and files that have several names.
#include <algorithm>
#include <cstdint>

#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/win32/file_handle.h"
#include "ztk/platform/win32/stream.h"

namespace {

XPFileKind KindOfError(DWORD nError) noexcept {
  return IsMissing(nError) ? XPFileKind::kNothing : XPFileKind::kUnknown;
}

// Folds the identity, which has 128 bits on some file systems, into 64.
std::uint64_t FoldedId(const FILE_ID_128& id) noexcept {
  std::uint64_t folded = 0;
  for (size_t i = 0; i < sizeof id.Identifier; ++i) {
    folded ^= std::uint64_t{id.Identifier[i]} << (i % 8 * 8);
  }
  return folded;
}

bool StateOf(HANDLE hFile, XPFileState& state) noexcept {
  BY_HANDLE_FILE_INFORMATION info;
  state = XPFileState();
  if (GetFileInformationByHandle(hFile, &info) == 0) return false;
  const auto join = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
  state.isThere = true;
  state.device = info.dwVolumeSerialNumber;
  state.file = join(info.nFileIndexHigh, info.nFileIndexLow);
  state.size = static_cast<std::int64_t>(join(info.nFileSizeHigh, info.nFileSizeLow));
  // The system counts in 100 ns. Never the time of creation: a new file may get that of an old one.
  const std::uint64_t time =
      join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime);
  state.changed = static_cast<std::int64_t>(time * 100);
  FILE_ID_INFO id;
  if (GetFileInformationByHandleEx(hFile, FileIdInfo, &id, sizeof id) != 0) {
    state.device = id.VolumeSerialNumber;
    state.file = FoldedId(id.FileId);
  }
  return true;
}

bool SetEnd(HANDLE hFile, std::int64_t nSize) noexcept {
  FILE_END_OF_FILE_INFO end;
  end.EndOfFile.QuadPart = nSize;
  return SetFileInformationByHandle(hFile, FileEndOfFileInfo, &end, sizeof end) != 0;
}

// False when there is no room; true where the file system cannot tell.
bool ReserveRoom(HANDLE hFile, std::int64_t nSize, std::int64_t nOldSize) noexcept {
  if (nSize <= nOldSize) return true;  // A smaller reservation would cut the file.
  FILE_ALLOCATION_INFO room;
  room.AllocationSize.QuadPart = nSize;
  if (SetFileInformationByHandle(hFile, FileAllocationInfo, &room, sizeof room) != 0) return true;
  const DWORD error = GetLastError();
  return error != ERROR_DISK_FULL && error != ERROR_HANDLE_DISK_FULL &&
         error != ERROR_FILE_TOO_LARGE && error != ERROR_NOT_ENOUGH_QUOTA;
}

// The number of bytes copied, or -1.
std::int64_t CopyContent(HANDLE hFrom, HANDLE hTo) noexcept {
  constexpr DWORD kChunk = 64 * 1024;
  const std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  if (chunk == nullptr) return -1;
  for (std::int64_t total = 0;;) {
    DWORD got = 0;
    if (ReadFile(hFrom, chunk.get(), kChunk, &got, nullptr) == 0) return -1;
    if (got == 0) return total;
    DWORD put = 0;
    if (WriteFile(hTo, chunk.get(), got, &put, nullptr) == 0 || put != got) return -1;
    total += got;
  }
}

}  // namespace

bool GetPathAttributes(const WidePath& path, PathAttributes& result) noexcept {
  if (!path.IsValid()) return false;
  result = PathAttributes();
  result.attributes = GetFileAttributesW(path.Get());
  const bool isKnown = result.attributes != INVALID_FILE_ATTRIBUTES;
  const DWORD error = isKnown ? DWORD{ERROR_SUCCESS} : GetLastError();
  if (!isKnown && error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED) return false;
  if (isKnown && (result.attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return true;

  // Its folder tells without opening it.
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(path.Get(), &found);
  if (search == INVALID_HANDLE_VALUE) return isKnown;
  FindClose(search);
  result.attributes = found.dwFileAttributes;
  if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) result.tag = found.dwReserved0;
  return true;
}

XPFileKind XPGetOwnFileKind(const char* pszPath) noexcept {
  const WidePath path(pszPath);
  if (path.IsDevice()) return XPFileKind::kOther;
  PathAttributes own;
  if (!GetPathAttributes(path, own)) return KindOfError(GetLastError());
  if (own.IsLink()) return XPFileKind::kOther;
  return own.IsFolder() ? XPFileKind::kFolder : XPFileKind::kRegular;
}

XPFileKind XPGetFileKind(const char* pszPath) noexcept {
  const WidePath path(pszPath);
  if (path.IsDevice()) return XPFileKind::kOther;
  PathAttributes own;
  if (!GetPathAttributes(path, own)) return KindOfError(GetLastError());
  if (!own.IsLink()) return own.IsFolder() ? XPFileKind::kFolder : XPFileKind::kRegular;
  const FileHandle end = OpenExisting(path, FILE_READ_ATTRIBUTES);
  BY_HANDLE_FILE_INFORMATION info;
  if (!end.IsOpen() || GetFileInformationByHandle(end.Get(), &info) == 0) {
    return KindOfError(GetLastError());
  }
  const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder ? XPFileKind::kFolder : XPFileKind::kRegular;
}

bool XPPathExists(const char* pszPath) noexcept {
  const XPFileKind kind = XPGetFileKind(pszPath);
  return kind != XPFileKind::kNothing && kind != XPFileKind::kUnknown;
}

bool XPHasOtherNames(const char* pszPath, bool& bHasOthers) noexcept {
  bHasOthers = false;
  const WidePath path(pszPath);
  const FileHandle file = OpenExisting(path, FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!file.IsOpen()) return IsMissing(GetLastError());
  BY_HANDLE_FILE_INFORMATION info;
  if (GetFileInformationByHandle(file.Get(), &info) == 0) return false;
  constexpr DWORD kNoFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  bHasOthers = (info.dwFileAttributes & kNoFile) == 0 && info.nNumberOfLinks > 1;
  return true;
}

bool XPOverwriteFile(const char* pszFrom, const char* pszTo, bool& bBegun) noexcept {
  bBegun = false;
  const FileHandle from =
      OpenExisting(WidePath(pszFrom), GENERIC_READ, FILE_FLAG_OPEN_REPARSE_POINT);
  const FileHandle to =
      OpenExisting(WidePath(pszTo), GENERIC_READ | GENERIC_WRITE, FILE_FLAG_OPEN_REPARSE_POINT);
  LARGE_INTEGER size;
  LARGE_INTEGER oldSize;
  BY_HANDLE_FILE_INFORMATION info;
  if (!from.IsOpen() || !to.IsOpen()) return false;
  if (GetFileInformationByHandle(to.Get(), &info) == 0) return false;
  constexpr DWORD kNoFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if ((info.dwFileAttributes & kNoFile) != 0) return false;
  if (GetFileSizeEx(from.Get(), &size) == 0 || GetFileSizeEx(to.Get(), &oldSize) == 0) return false;
  if (!ReserveRoom(to.Get(), size.QuadPart, oldSize.QuadPart)) return false;

  bBegun = true;
  const std::int64_t copied = CopyContent(from.Get(), to.Get());
  return copied == size.QuadPart && SetEnd(to.Get(), copied) && FlushFileBuffers(to.Get()) != 0;
}

bool XPGetFileState(const char* pszPath, XPFileState& state) noexcept {
  state = XPFileState();
  const FileHandle file = OpenExisting(WidePath(pszPath), FILE_READ_ATTRIBUTES);
  return file.IsOpen() && StateOf(file.Get(), state);
}

bool XPGetStreamState(XPStream* pStream, XPFileState& state) noexcept {
  return StateOf(pStream->handle, state);
}
