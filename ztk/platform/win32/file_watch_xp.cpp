// Folders are read for changes in the background; all of them signal one event.
#include "ztk/file/internal/file_watch_xp.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "ztk/file/internal/file_state_xp.h"
#include "ztk/platform/win32/file_handle.h"

namespace {

constexpr DWORD kChanges = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME |
                           FILE_NOTIFY_CHANGE_ATTRIBUTES | FILE_NOTIFY_CHANGE_SIZE |
                           FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_CREATION;
// More than 64 KiB are refused for folders of a network.
constexpr DWORD kBuffer = 16 * 1024;

bool AreSameNames(const wchar_t* pszA, size_t nA, const wchar_t* pszB) noexcept {
  return CompareStringOrdinal(pszA, static_cast<int>(nA), pszB, -1, TRUE) == CSTR_EQUAL;
}

// A file that was changed under its short name may be told of under that.
bool MayBeShort(const wchar_t* pszName, size_t nLength) noexcept {
  constexpr size_t kLongest = 12;  // Eight, a dot and three.
  return nLength <= kLongest && std::wmemchr(pszName, L'~', nLength) != nullptr;
}

}  // namespace

struct XPFolderWatch {
  struct Folder {
    int number = -1;
    XPFileState identity;
    HANDLE handle = INVALID_HANDLE_VALUE;
    OVERLAPPED reading = {};
    bool isReading = false;
    alignas(DWORD) char buffer[kBuffer];

    bool IsUsed() const noexcept { return handle != INVALID_HANDLE_VALUE; }
    bool IsDone() const noexcept { return isReading && HasOverlappedIoCompleted(&reading); }
    bool Read(HANDLE hEvent) noexcept {
      reading = {};
      reading.hEvent = hEvent;
      isReading = ReadDirectoryChangesW(handle, buffer, kBuffer, FALSE, kChanges, nullptr, &reading,
                                        nullptr) != 0;
      return isReading;
    }
    // The system writes to the buffer until it says that it has ended. Waiting for the event alone
    // would not do: it may be set for another folder.
    void Close() noexcept {
      if (!IsUsed()) return;
      if (isReading) CancelIoEx(handle, &reading);
      while (isReading && !HasOverlappedIoCompleted(&reading)) {
        DWORD size = 0;
        GetOverlappedResult(handle, &reading, &size, TRUE);
        SwitchToThread();
      }
      CloseHandle(handle);
      handle = INVALID_HANDLE_VALUE;
      isReading = false;
      number = -1;
    }
  };

  // A path and what it leads to; a third while the one is exchanged for another.
  Folder folders[3];
  HANDLE event = nullptr;
  int nNext = 0;

  bool Concerns(const Folder& folder, DWORD nSize,
                std::initializer_list<std::string_view> names) const noexcept;
  void SignalWhatIsDone() noexcept;
};

// Beginning to read resets the event that all share: what ended meanwhile must set it again.
void XPFolderWatch::SignalWhatIsDone() noexcept {
  const bool isAnyDone = std::any_of(std::begin(folders), std::end(folders),
                                     [](const Folder& f) { return f.IsDone(); });
  if (isAnyDone) SetEvent(event);
}

XPFolderWatch* XPOpenFolderWatch() noexcept {
  std::unique_ptr<XPFolderWatch> watch(new (std::nothrow) XPFolderWatch);
  if (watch == nullptr) return nullptr;
  watch->event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return watch->event != nullptr ? watch.release() : nullptr;
}

void XPCloseFolderWatch(XPFolderWatch* pWatch) noexcept {
  for (XPFolderWatch::Folder& folder : pWatch->folders) folder.Close();
  CloseHandle(pWatch->event);
  delete pWatch;
}

std::intptr_t XPGetWatchHandle(const XPFolderWatch* pWatch) noexcept {
  return reinterpret_cast<std::intptr_t>(pWatch->event);
}

int XPGetWatchFd(const XPFolderWatch* /*pWatch*/) noexcept { return -1; }

int XPWatchFolder(XPFolderWatch* pWatch, const char* pszFolder, bool& bMissing) noexcept {
  const WidePath path(pszFolder);
  FileHandle handle = OpenExisting(path, FILE_LIST_DIRECTORY, FILE_FLAG_OVERLAPPED);
  XPFileState identity;
  bMissing = !handle.IsOpen() && IsMissing(GetLastError());
  if (!handle.IsOpen() || !XPGetFileState(pszFolder, identity)) return -1;
  identity.size = identity.changed = 0;

  XPFolderWatch::Folder* pFree = nullptr;
  for (XPFolderWatch::Folder& folder : pWatch->folders) {
    if (folder.IsUsed() && folder.identity == identity) return folder.number;
    if (!folder.IsUsed()) pFree = &folder;
  }
  if (pFree == nullptr) return -1;
  pFree->handle = handle.Release();
  pFree->identity = identity;
  const bool isReading = pFree->Read(pWatch->event);
  pWatch->SignalWhatIsDone();
  if (!isReading) {
    pFree->Close();
    return -1;
  }
  pFree->number = pWatch->nNext++;
  return pFree->number;
}

void XPUnwatchFolder(XPFolderWatch* pWatch, int nFolder) noexcept {
  for (XPFolderWatch::Folder& folder : pWatch->folders) {
    if (folder.IsUsed() && folder.number == nFolder) folder.Close();
  }
  ResetEvent(pWatch->event);  // Ending it was no change.
  pWatch->SignalWhatIsDone();
}

bool XPFolderWatch::Concerns(const Folder& folder, DWORD nSize,
                             std::initializer_list<std::string_view> names) const noexcept {
  if (nSize == 0) return true;  // More than the buffer holds.
  for (const std::string_view name : names) {
    const WideText wide = ToWide(ZTKString(name).c_str());
    if (wide == nullptr || wide[0] == L'\0') return true;  // Out of memory.
    for (const char* p = folder.buffer;;) {
      FILE_NOTIFY_INFORMATION change;
      constexpr size_t kHead = offsetof(FILE_NOTIFY_INFORMATION, FileName);
      std::memcpy(&change, p, kHead);
      const auto* const text = reinterpret_cast<const wchar_t*>(p + kHead);
      const size_t length = change.FileNameLength / sizeof(wchar_t);
      if (AreSameNames(text, length, wide.get()) || MayBeShort(text, length)) return true;
      if (change.NextEntryOffset == 0) break;
      p += change.NextEntryOffset;
    }
  }
  return false;
}

bool XPConsumeChanges(XPFolderWatch* pWatch,
                      std::initializer_list<std::string_view> names) noexcept {
  bool concerns = false;
  ResetEvent(pWatch->event);
  for (XPFolderWatch::Folder& folder : pWatch->folders) {
    // A bound, as others may write faster than this reads.
    for (int nReads = 0; nReads < 64 && folder.IsDone(); ++nReads) {
      DWORD size = 0;
      const bool isRead = GetOverlappedResult(folder.handle, &folder.reading, &size, FALSE) != 0;
      const bool isOverflow = !isRead && GetLastError() == ERROR_NOTIFY_ENUM_DIR;
      folder.isReading = false;
      if (!isRead || pWatch->Concerns(folder, size, names)) concerns = true;
      // The folder has gone, or cannot be read any more.
      if ((!isRead && !isOverflow) || !folder.Read(pWatch->event)) {
        concerns = true;
        folder.Close();
      }
    }
  }
  pWatch->SignalWhatIsDone();
  return concerns;
}
