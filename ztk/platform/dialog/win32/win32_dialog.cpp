#include "ztk/platform/dialog/win32/win32_dialog.h"

#include <shlobj.h>
#include <shobjidl.h>

#include <vector>

#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // No interface of COM has one.

namespace {

constexpr size_t kLongestPath = 248;  // Of a folder, where nothing says that it may be longer.

/// Holds one reference.
template <class Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ~ComPtr() {
    if (m_p != nullptr) m_p->Release();
  }
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;

  Interface* operator->() const { return m_p; }
  Interface* Get() const { return m_p; }
  /// For a function that gives a reference.
  void** Receive() { return reinterpret_cast<void**>(&m_p); }
  Interface** ReceiveTyped() { return &m_p; }

 private:
  Interface* m_p = nullptr;
};

/// A single-threaded apartment, which the shell's dialogs need.
class Apartment {
 public:
  Apartment()
      : m_isIn(
            SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE))) {
  }
  ~Apartment() {
    if (m_isIn) CoUninitialize();
  }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  bool IsIn() const { return m_isIn; }

 private:
  const bool m_isIn;
};

bool MakeDialog(bool bSave, ComPtr<IFileDialog>& dialog) {
  return SUCCEEDED(CoCreateInstance(bSave ? CLSID_FileSaveDialog : CLSID_FileOpenDialog, nullptr,
                                    CLSCTX_INPROC_SERVER, IID_IFileDialog, dialog.Receive()));
}

// The text that the shell allocated; freed here.
std::wstring Consume(wchar_t* pText) {
  std::wstring text = pText != nullptr ? pText : L"";
  CoTaskMemFree(pText);
  return text;
}

// In lower case: some shells compare a name's extension as it stands with the pattern's.
std::wstring Patterns(const ZTKFileDialogRequest& request, unsigned long nFilter) {
  if (request.ppszPatterns == nullptr) return L"*";
  std::wstring patterns = Win32ToWide(request.ppszPatterns[nFilter]);
  CharLowerBuffW(patterns.data(), static_cast<DWORD>(patterns.size()));
  return patterns.empty() ? L"*." : patterns;  // Few files at least, where it is to be none.
}

// The extension that a pattern list begins with; "" for none that a name could get.
std::wstring FirstExtension(const std::wstring& patterns) {
  const std::wstring first = patterns.substr(0, patterns.find(L';'));
  const size_t dot = first.rfind(L'.');
  if (dot == std::wstring::npos) return {};
  const std::wstring extension = first.substr(dot + 1);
  return extension.find_first_of(L"*?") == std::wstring::npos ? extension : std::wstring();
}

// What a save name without an extension gets.
void SetExtension(const ZTKFileDialogRequest& request, unsigned long nFilter, IFileDialog& dialog) {
  if (request.bSave == 0) return;
  dialog.SetDefaultExtension(FirstExtension(Patterns(request, nFilter)).c_str());
}

/// What the dialog tells while it is open. It outlives the dialog, which therefore does not own it.
class Events final : public IFileDialogEvents {
 public:
  Events(const ZTKFileDialogRequest& request, Win32Program& program)
      : m_request(request), m_program(program), m_nFilter(request.nFilter) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** ppObject) override {
    const bool isKnown = id == IID_IUnknown || id == IID_IFileDialogEvents;
    *ppObject = isKnown ? this : nullptr;
    return isKnown ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  HRESULT STDMETHODCALLTYPE OnTypeChange(IFileDialog* pDialog) override;
  // The first event of a dialog that is on the screen.
  HRESULT STDMETHODCALLTYPE OnFolderChange(IFileDialog* pDialog) override {
    TellWindow(pDialog);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE OnFileOk(IFileDialog*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnFolderChanging(IFileDialog*, IShellItem*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnSelectionChange(IFileDialog* pDialog) override {
    TellWindow(pDialog);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE OnShareViolation(IFileDialog*, IShellItem*,
                                             FDE_SHAREVIOLATION_RESPONSE*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE OnOverwrite(IFileDialog*, IShellItem*,
                                        FDE_OVERWRITE_RESPONSE*) override {
    return E_NOTIMPL;  // The dialog asks by itself.
  }

 private:
  void TellWindow(IFileDialog* pDialog);

  const ZTKFileDialogRequest& m_request;
  Win32Program& m_program;
  unsigned long m_nFilter;
  bool m_isTold = false;
};

void Events::TellWindow(IFileDialog* pDialog) {
  if (m_isTold) return;
  ComPtr<IOleWindow> window;
  HWND handle = nullptr;
  if (FAILED(pDialog->QueryInterface(IID_IOleWindow, window.Receive()))) return;
  if (FAILED(window->GetWindow(&handle)) || handle == nullptr) return;
  m_isTold = true;
  m_program.Opened(handle);
}

// Also called for the filter to begin with, which is no choice of the user's.
HRESULT Events::OnTypeChange(IFileDialog* pDialog) {
  UINT index = 0;
  if (FAILED(pDialog->GetFileTypeIndex(&index)) || index == 0 || index - 1 == m_nFilter) {
    return S_OK;
  }
  m_nFilter = index - 1;

  wchar_t* current = nullptr;
  if (FAILED(pDialog->GetFileName(&current))) current = nullptr;
  std::wstring name = Consume(current);
  const bool isRenamed = m_program.FilterChosen(m_nFilter, name);
  SetExtension(m_request, m_nFilter, *pDialog);
  if (isRenamed) pDialog->SetFileName(name.c_str());  // Last: the dialog changes it as well.
  return S_OK;
}

void SetFilters(const ZTKFileDialogRequest& request, IFileDialog& dialog) {
  if (request.nFilterCount == 0) return;
  std::vector<std::wstring> texts;
  for (unsigned long i = 0; i < request.nFilterCount; ++i) {
    texts.push_back(Win32ToWide(request.ppszDescriptions[i]));
    texts.push_back(Patterns(request, i));
  }
  std::vector<COMDLG_FILTERSPEC> filters;
  for (size_t i = 0; i < texts.size(); i += 2) {
    filters.push_back({texts[i].c_str(), texts[i + 1].c_str()});
  }
  dialog.SetFileTypes(static_cast<UINT>(filters.size()), filters.data());
  dialog.SetFileTypeIndex(static_cast<UINT>(request.nFilter) + 1);
  SetExtension(request, request.nFilter, dialog);
}

// The text that `fill(buffer, units)` gives: the length of what it wrote, the size that it needs
// where that is not less than `units`, or 0 on failure.
template <class Fill>
std::wstring MakeText(Fill fill) {
  std::wstring text(MAX_PATH, L'\0');
  for (;;) {
    const auto units = static_cast<DWORD>(text.size());
    const DWORD length = fill(text.data(), units);
    text.resize(length);
    if (length < units) return text;
  }
}

std::wstring FullPathOf(const std::wstring& path) {
  return MakeText([&](wchar_t* buffer, DWORD units) {
    return GetFullPathNameW(path.c_str(), units, buffer, nullptr);
  });
}

// The same full path for calls that take one of any length so.
std::wstring Unlimited(const std::wstring& path) {
  if (path.size() < kLongestPath || path.compare(0, 4, LR"(\\?\)") == 0) return path;
  const bool isShare = path.compare(0, 2, LR"(\\)") == 0;
  return isShare ? LR"(\\?\UNC)" + path.substr(1) : LR"(\\?\)" + path;
}

bool IsFolder(const std::wstring& path) {
  const DWORD kind = path.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path.c_str());
  return kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool SetFolder(const std::wstring& path, IFileDialog& dialog) {
  ComPtr<IShellItem> item;
  return !path.empty() &&
         SUCCEEDED(
             SHCreateItemFromParsingName(path.c_str(), nullptr, IID_IShellItem, item.Receive())) &&
         SUCCEEDED(dialog.SetFolder(item.Get()));
}

// A path that is too long for the shell, by the short names of its folders; "" where it has none.
std::wstring ShortPathOf(const std::wstring& path) {
  const std::wstring unlimited = Unlimited(path);
  std::wstring text = MakeText([&](wchar_t* buffer, DWORD units) {
    return GetShortPathNameW(unlimited.c_str(), buffer, units);
  });
  const size_t prefix = unlimited.size() - path.size();
  if (prefix != 4 || text.size() <= prefix) return {};  // A share's short path is not tried.
  text.erase(0, prefix);
  return text.size() < kLongestPath ? text : std::wstring();
}

// A folder that is not there leaves the working directory.
void SetStart(const ZTKFileDialogRequest& request, IFileDialog& dialog) {
  // The shell takes full paths only.
  std::wstring folder = FullPathOf(Win32ToWidePath(request.pszDirectory));
  if (!IsFolder(Unlimited(folder))) folder = FullPathOf(L".");
  const bool isLong = folder.size() >= kLongestPath;
  if (!SetFolder(folder, dialog) && isLong) SetFolder(ShortPathOf(folder), dialog);
  const std::wstring name = Win32ToWidePath(request.pszFileName);
  if (request.bSave != 0 && !name.empty()) dialog.SetFileName(name.c_str());
}

}  // namespace

bool Win32CanMakeDialog() noexcept {
  const Apartment apartment;
  ComPtr<IFileDialog> dialog;
  return apartment.IsIn() && MakeDialog(false, dialog);
}

bool Win32ShowDialog(const ZTKFileDialogRequest& request, HWND hOwner, Win32Program& program,
                     std::wstring& path) {
  const Apartment apartment;
  ComPtr<IFileDialog> dialog;
  if (!apartment.IsIn() || !MakeDialog(request.bSave != 0, dialog)) return false;

  FILEOPENDIALOGOPTIONS options = 0;
  dialog->GetOptions(&options);
  // Files only that have a path; and the working directory is the program's.
  options |= FOS_FORCEFILESYSTEM | FOS_NOCHANGEDIR;
  options |= request.bSave != 0 ? FOS_OVERWRITEPROMPT : FOS_FILEMUSTEXIST;
  dialog->SetOptions(options);
  dialog->SetTitle(Win32ToWide(request.pszTitle).c_str());
  SetFilters(request, *dialog.Get());
  SetStart(request, *dialog.Get());

  Events events(request, program);
  DWORD cookie = 0;
  const bool isAdvised = SUCCEEDED(dialog->Advise(&events, &cookie));
  const bool isChosen = dialog->Show(hOwner) == S_OK;
  if (isAdvised) dialog->Unadvise(cookie);
  if (!isChosen) return false;

  ComPtr<IShellItem> item;
  wchar_t* chosen = nullptr;
  if (FAILED(dialog->GetResult(item.ReceiveTyped()))) return false;
  if (FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, &chosen))) return false;
  path = Consume(chosen);
  return !path.empty();
}

std::wstring Win32ToWide(const char* pszText) {
  const int length = MultiByteToWideChar(CP_UTF8, 0, pszText, -1, nullptr, 0);
  if (length <= 0) return {};
  std::wstring wide(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, pszText, -1, wide.data(), length);
  wide.pop_back();  // The terminator.
  return wide;
}

std::wstring Win32ToWidePath(const char* pszPath) {
  const bool isWellFormed =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, pszPath, -1, nullptr, 0) > 0;
  return isWellFormed ? Win32ToWide(pszPath) : std::wstring();
}

std::string Win32ToUtf8(const std::wstring& text) {
  const int length = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.c_str(), -1, nullptr,
                                         0, nullptr, nullptr);
  if (length <= 0) return {};
  std::string utf8(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.c_str(), -1, utf8.data(), length, nullptr,
                      nullptr);
  utf8.pop_back();
  return utf8;
}
