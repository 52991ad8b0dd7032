#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"
#include "ztk/file/file_system.h"

namespace {

constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Sets errno from the system's last error; false.
bool FailWithErrno() {
  const std::error_code code(static_cast<int>(GetLastError()), std::system_category());
  const std::error_condition condition = code.default_error_condition();
  errno = condition.category() == std::generic_category() ? condition.value() : EIO;
  return false;
}

// Empty, with the last error set, for what is no UTF-8.
std::wstring Wide(const std::string& text) {
  const auto length = static_cast<int>(text.size());
  const int units =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<size_t>(units), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, wide.data(), units);
  return wide;
}

// False for a lone surrogate, as a name of a file may have.
bool ToUtf8(const wchar_t* pszText, std::string& text) {
  const int size =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, pszText, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return false;
  text.assign(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, pszText, -1, text.data(), size, nullptr,
                      nullptr);
  text.pop_back();  // The NUL.
  return true;
}

// Empty, with the last error set, for none.
std::wstring FullPath(const std::string& path) {
  const std::wstring given = Wide(path);
  if (given.empty()) return given;
  constexpr DWORD kMost = 32768;
  std::wstring full(kMost, L'\0');
  const DWORD units = GetFullPathNameW(given.c_str(), kMost, full.data(), nullptr);
  full.resize(units < kMost ? units : 0);
  return full;
}

// As calls of the system take it, whatever its length.
std::wstring SystemPath(const std::string& path) {
  constexpr size_t kLong = 248;
  std::wstring full = FullPath(path);
  if (full.size() < kLong || full.rfind(L"\\\\?\\", 0) == 0 || full.rfind(L"\\\\.\\", 0) == 0) {
    return full;
  }
  return full.rfind(L"\\\\", 0) == 0 ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

HANDLE Open(const std::string& path, DWORD access) {
  const std::wstring wide = SystemPath(path);
  if (wide.empty()) return INVALID_HANDLE_VALUE;
  return CreateFileW(wide.c_str(), access, kShared, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool IsMissing(DWORD nError) {
  return nError == ERROR_FILE_NOT_FOUND || nError == ERROR_PATH_NOT_FOUND ||
         nError == ERROR_INVALID_DRIVE || nError == ERROR_BAD_NETPATH;
}

// Interrupts --------------------------------------------------------------------------------------

constexpr UINT kInterrupted = 0xC000013A;  // STATUS_CONTROL_C_EXIT, as without a handler.

std::atomic<bool> s_isDeferred{false};
std::atomic<bool> s_isInterrupted{false};

// In a thread of its own.
BOOL WINAPI OnInterrupt(DWORD nEvent) {
  if (s_isDeferred) {
    s_isInterrupted = true;
    // When this returns, the program is ended, where the console is closed: the work ends it
    // before.
    if (nEvent != CTRL_C_EVENT && nEvent != CTRL_BREAK_EVENT) Sleep(INFINITE);
    return TRUE;
  }
  return FALSE;
}

// The console -------------------------------------------------------------------------------------

// What is printed is UTF-8. The C library hands it to a console byte by byte, and the console takes
// it for text of its code page: there the streams are a pipe, from which a thread takes whole
// characters to the console.
HANDLE s_console = nullptr;
HANDLE s_pump = nullptr;
bool s_isErrorOnConsole = false;

// The part without a character that is still to be completed.
size_t WholeCharacters(const std::string& text) {
  constexpr size_t kLongest = 4;
  for (size_t n = 1; n < kLongest && n <= text.size(); ++n) {
    const auto byte = static_cast<unsigned char>(text[text.size() - n]);
    if (byte < 0x80) break;
    if (byte < 0xC0) continue;
    const size_t length = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    return n < length ? text.size() - n : text.size();
  }
  return text.size();
}

void WriteToConsole(const std::string& text) {
  constexpr int kMost = 4096;
  wchar_t wide[kMost];  // No character takes more units than bytes.
  const int units =
      MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide, kMost);
  DWORD written = 0;
  WriteConsoleW(s_console, wide, static_cast<DWORD>(units), &written, nullptr);
}

DWORD WINAPI Pump(void* pReadEnd) {
  const int end = static_cast<int>(reinterpret_cast<std::intptr_t>(pReadEnd));
  std::string text;
  char block[4000];
  for (int count = 0; (count = _read(end, block, sizeof block)) > 0;) {
    text.append(block, static_cast<size_t>(count));
    const size_t whole = WholeCharacters(text);
    WriteToConsole(text.substr(0, whole));
    text.erase(0, whole);
  }
  WriteToConsole(text);
  return 0;
}

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

void PrepareStreams() {
  for (std::FILE* const stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  const bool isOutputOnConsole = IsConsole(output);
  s_isErrorOnConsole = IsConsole(error);
  if (!isOutputOnConsole && !s_isErrorOnConsole) return;
  int ends[2];
  constexpr unsigned kPipeSize = 65536;
  const HANDLE self = GetCurrentProcess();
  // Its own is closed when a stream becomes the pipe.
  if (DuplicateHandle(self, isOutputOnConsole ? output : error, self, &s_console, 0, FALSE,
                      DUPLICATE_SAME_ACCESS) == 0 ||
      _pipe(ends, kPipeSize, _O_BINARY | _O_NOINHERIT) != 0) {
    return;
  }
  s_pump =
      CreateThread(nullptr, 0, Pump, reinterpret_cast<void*>(std::intptr_t{ends[0]}), 0, nullptr);
  if (s_pump != nullptr && isOutputOnConsole) _dup2(ends[1], _fileno(stdout));
  if (s_pump != nullptr && s_isErrorOnConsole) _dup2(ends[1], _fileno(stderr));
  _close(ends[1]);
}

}  // namespace

FileKind KindOf(const std::string& path) {
  const HANDLE file = Open(path, FILE_READ_ATTRIBUTES);
  if (file == INVALID_HANDLE_VALUE) {
    if (IsMissing(GetLastError())) return FileKind::kMissing;
    FailWithErrno();
    throw Failure(kFailed, path + ": " + std::strerror(errno));
  }
  BY_HANDLE_FILE_INFORMATION info = {};
  const bool isOnDisk =
      GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &info);
  CloseHandle(file);
  if (!isOnDisk) return FileKind::kOther;
  const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder ? FileKind::kFolder : FileKind::kRegular;
}

// Without the prefix of a long one, which the library puts there, too.
std::string AbsolutePath(const std::string& path) {
  std::string text;
  const std::wstring full = FullPath(path);
  return !full.empty() && ToUtf8(full.c_str(), text) ? text : path;
}

int WriteRefusal(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  const bool isThere = attributes != INVALID_FILE_ATTRIBUTES;
  return isThere && (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? EACCES : 0;
}

bool HostFile::OpenExisting(const std::string& path) {
  const HANDLE file = Open(path, GENERIC_WRITE);
  if (file == INVALID_HANDLE_VALUE) return FailWithErrno();
  m_handle = reinterpret_cast<std::intptr_t>(file);
  return true;
}

bool HostFile::CreateTemporary(const std::string& folder) {
  static unsigned s_count = 0;
  constexpr unsigned kTries = 1000;
  for (unsigned i = 0; i < kTries; ++i) {
    m_path =
        folder + "\\ztk-" + std::to_string(GetCurrentProcessId()) + '-' + std::to_string(++s_count);
    const HANDLE file =
        CreateFileW(SystemPath(m_path).c_str(), GENERIC_WRITE | DELETE, kShared, nullptr,
                    CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      m_handle = reinterpret_cast<std::intptr_t>(file);
      return true;
    }
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  return FailWithErrno();
}

bool HostFile::Write(std::string_view bytes) {
  constexpr size_t kMost = size_t{1} << 20;
  while (!bytes.empty()) {
    DWORD written = 0;
    if (WriteFile(reinterpret_cast<HANDLE>(m_handle), bytes.data(),
                  static_cast<DWORD>(std::min(bytes.size(), kMost)), &written, nullptr) == 0) {
      return FailWithErrno();
    }
    bytes.remove_prefix(written);
  }
  return true;
}

bool HostFile::Close() {
  const auto file = reinterpret_cast<HANDLE>(m_handle);
  m_handle = -1;
  return file == INVALID_HANDLE_VALUE || CloseHandle(file) != 0 || FailWithErrno();
}

std::string HostFile::Path() const { return m_path; }

std::string TemporaryFolder() { return std::string(XPGetTempFolder().view()); }

bool IsErrorATerminal() {
  DWORD mode = 0;
  return s_isErrorOnConsole && GetConsoleMode(s_console, &mode) != 0 &&
         SetConsoleMode(s_console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void DeferInterrupts() { s_isDeferred = true; }

bool IsInterrupted() { return s_isInterrupted; }

void ReleaseInterrupts() {
  s_isDeferred = false;
  if (!s_isInterrupted) return;
  ExitProcess(kInterrupted);
}

std::vector<std::string> BeginProgram(int /*argc*/, char** /*argv: of the code page*/) {
  PrepareStreams();
  SetConsoleCtrlHandler(OnInterrupt, TRUE);
  int nCount = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &nCount);
  std::vector<std::string> arguments;
  for (int i = 1; words != nullptr && i < nCount; ++i) {
    if (!ToUtf8(words[i], arguments.emplace_back())) {
      throw Failure(kUsage, "argument " + std::to_string(i) + " is no well-formed text");
    }
  }
  LocalFree(words);
  return arguments;
}

void EndProgram() {
  if (s_pump == nullptr) return;
  for (std::FILE* const stream : {stdout, stderr}) std::fclose(stream);  // The pipe's end.
  WaitForSingleObject(s_pump, INFINITE);
}
