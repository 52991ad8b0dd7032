// shell32 is loaded when a folder is asked for: it brings the libraries of the desktop along.
#include "ztk/platform/win32/known_folders.h"

#include <windows.h>

#include "ztk/platform/win32/system_function.h"
#include "ztk/platform/win32/wide_text.h"

namespace {

// The same as in knownfolders.h, which has them in a library of its own.
constexpr GUID kIds[] = {
    {0x5E6C858F, 0x0E22, 0x4760, {0x9A, 0xFE, 0xEA, 0x33, 0x17, 0xB6, 0x71, 0x73}},
    {0x3EB685DB, 0x65F9, 0x4CF6, {0xA0, 0x3A, 0xE3, 0xEF, 0x65, 0x72, 0x9F, 0x3D}},
};
constexpr DWORD kCreate = 0x8000;
constexpr DWORD kDoNotVerify = 0x4000;

}  // namespace

ZTKString GetKnownFolder(KnownFolder folder, bool bCreate) noexcept {
  using GetPath = HRESULT(WINAPI*)(const GUID*, DWORD, HANDLE, wchar_t**);
  using Free = void(WINAPI*)(void*);
  const auto getPath = LoadSystemFunction<GetPath>(L"shell32.dll", "SHGetKnownFolderPath");
  const auto free = LoadSystemFunction<Free>(L"ole32.dll", "CoTaskMemFree");
  ZTKString text;
  if (getPath == nullptr || free == nullptr) return text;
  wchar_t* path = nullptr;
  if (getPath(&kIds[folder], bCreate ? kCreate : kDoNotVerify, nullptr, &path) >= 0) {
    ToUtf8(path, text);
  }
  free(path);
  const bool isRoot = text.Len() <= 3;
  if (!isRoot && text.Last() == '\\') text = text.Left(text.Len() - 1);
  return text;
}
