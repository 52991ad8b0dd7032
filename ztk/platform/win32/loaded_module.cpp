#include "ztk/platform/win32/loaded_module.h"

#include <new>

#include "ztk/platform/win32/wide_path.h"

namespace {

// Also a path that is too long to do without \\?\.
WideText LoadablePath(const std::wstring& path) {
  WideText file = WithPrefix(CopyOf(path.c_str()));
  if (file == nullptr) throw std::bad_alloc();
  return file;
}

// What the system says of an error, in one line.
std::string TextOf(DWORD error, std::wstring_view path) {
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  wchar_t buffer[512];
  const DWORD length = FormatMessageW(kFlags, nullptr, error, 0, buffer,
                                      static_cast<DWORD>(std::size(buffer)), nullptr);
  std::wstring text(buffer, length);
  while (!text.empty() && text.back() <= L' ') text.pop_back();
  if (text.empty()) text = L"error " + std::to_wstring(error);
  // Some are about a file, which they name so.
  if (const size_t name = text.find(L"%1"); name != std::wstring::npos) {
    text.replace(name, 2, path);
    return ToReadableUtf8(text);
  }
  return ToReadableUtf8(path) + ": " + ToReadableUtf8(text);
}

class QuietLoading {
 public:
  QuietLoading() noexcept {
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_nBefore);
  }
  ~QuietLoading() { SetThreadErrorMode(m_nBefore, nullptr); }
  QuietLoading(const QuietLoading&) = delete;
  QuietLoading& operator=(const QuietLoading&) = delete;

 private:
  DWORD m_nBefore = 0;
};

}  // namespace

std::wstring PathOfModule(HMODULE hModule) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(hModule, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return L"";
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());  // Cut: there is more.
  }
}

std::wstring FolderOfModule(HMODULE hModule) {
  const std::wstring path = PathOfModule(hModule);
  return path.substr(0, path.rfind(L'\\') + 1);
}

HMODULE OwnModule() noexcept {
  HMODULE own = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  GetModuleHandleExW(kFlags, reinterpret_cast<LPCWSTR>(&OwnModule), &own);
  return own;
}

bool ModuleExists(const std::wstring& path) {
  return GetFileAttributesW(LoadablePath(path).get()) != INVALID_FILE_ATTRIBUTES;
}

HMODULE LoadModule(const std::wstring& path, std::string& reason) {
  constexpr DWORD kFlags = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  const WideText file = LoadablePath(path);
  const QuietLoading quiet;
  const HMODULE module = LoadLibraryExW(file.get(), nullptr, kFlags);
  if (module != nullptr) return module;
  const DWORD error = GetLastError();
  const std::wstring_view name = path;
  reason = TextOf(error, name.ends_with(L'.') ? name.substr(0, name.size() - 1) : name);
  if (error == ERROR_MOD_NOT_FOUND && ModuleExists(path)) {
    reason += " The file is there: a library that it depends on is missing.";
  }
  return nullptr;
}
