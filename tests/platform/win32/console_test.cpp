// What is written for people: as text to a console, as bytes to everything else.

#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/log/log.h"
#include "ztk/system/module.h"

namespace {

constexpr char kText[] = "Gr\xC3\xB6\xC3\x9F\x65 \xE2\x82\xAC";
constexpr wchar_t kWide[] = L"Gr\x00F6\x00DF\x0065 \x20AC";

/// Leads the error stream to what has a name, until its end.
class RedirectedErrors {
 public:
  explicit RedirectedErrors(const char* pszName) : m_old(_dup(_fileno(stderr))) {
    std::fflush(stderr);
    std::FILE* const file = std::fopen(pszName, "wb");
    _dup2(_fileno(file), _fileno(stderr));
    std::fclose(file);
  }
  ~RedirectedErrors() {
    std::fflush(stderr);
    _dup2(m_old, _fileno(stderr));
    _close(m_old);
  }
  RedirectedErrors(const RedirectedErrors&) = delete;
  RedirectedErrors& operator=(const RedirectedErrors&) = delete;

 private:
  const int m_old;
};

std::wstring LineOfConsole(HANDLE hConsole, SHORT nLine) {
  wchar_t text[80];
  DWORD length = 0;
  ReadConsoleOutputCharacterW(hConsole, text, 80, {0, nLine}, &length);
  std::wstring line(text, length);
  return line.substr(0, line.find_last_not_of(L' ') + 1);
}

// Runs one of the cases below in a process that has a console, which nobody sees.
DWORD RunWithConsole(const std::wstring& name, const std::filesystem::path& report) {
  wchar_t program[1024];
  GetModuleFileNameW(nullptr, program, 1024);
  std::wstring command = L"\"" + std::wstring(program) +
                         L"\" --gtest_also_run_disabled_tests --gtest_filter=" + name +
                         L" --gtest_output=xml:" + report.wstring();
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION process;
  if (CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                     nullptr, &start, &process) == 0) {
    return 1000;
  }
  DWORD status = 1001;
  WaitForSingleObject(process.hProcess, INFINITE);
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return status;
}

}  // namespace

TEST(Win32Console, GetsTextWhateverItsCodePageIs) {
  TempDir dir;
  const std::string report = dir / "report.xml";
  EXPECT_EQ(RunWithConsole(L"Win32InAConsole.DISABLED_*", report), 0u) << ReadWholeFile(report);
}

TEST(Win32InAConsole, DISABLED_DebugOutputAndAssertionsAreText) {
  const HANDLE console =
      CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(console, INVALID_HANDLE_VALUE);
  for (const UINT codePage : {437u, 1252u, 65001u}) {
    SCOPED_TRACE(codePage);
    SetConsoleOutputCP(codePage);
    CONSOLE_SCREEN_BUFFER_INFO before;
    ASSERT_NE(GetConsoleScreenBufferInfo(console, &before), 0);
    {
      const RedirectedErrors errors("CONOUT$");
      XPOutputDebugString(kText);
      XPOnAssert("file", 7, kText, "two\nlines");
      XPOutputDebugString("\xC3\xB6\xFFz");
      for (size_t i = 0; i < 4; ++i) {
        // Characters of several bytes at every place of the parts that it is written in.
        XPOutputDebugString((std::string(508 + i, '\r') + kText).c_str());
      }
    }
    const SHORT line = before.dwCursorPosition.Y;
    EXPECT_EQ(LineOfConsole(console, line), kWide);
    EXPECT_EQ(LineOfConsole(console, static_cast<SHORT>(line + 1)),
              L"file:7: assertion failed: " + std::wstring(kWide) + L": two");
    EXPECT_EQ(LineOfConsole(console, static_cast<SHORT>(line + 2)), L"lines");
    EXPECT_EQ(LineOfConsole(console, static_cast<SHORT>(line + 3)), L"\x00F6\xFFFDz");
    for (SHORT i = 4; i < 8; ++i) {
      EXPECT_EQ(LineOfConsole(console, static_cast<SHORT>(line + i)), kWide);
    }
  }
  CloseHandle(console);
}

TEST(Win32Console, FilesGetTheBytesAsTheyAre) {
  TempDir dir;
  const std::string path = dir / "errors";
  {
    const RedirectedErrors errors(path.c_str());
    XPOutputDebugString(kText);
    XPOutputDebugString("\xFF");
    XPOnAssert("file", 7, kText, std::string(2000, 'm').c_str());
    ZTKModule module;
    module.Load(("no such module " + std::string(kText)).c_str());
  }
  std::string bytes = ReadWholeFile(path);
  bytes.erase(std::remove(bytes.begin(), bytes.end(), '\r'), bytes.end());
  const std::string expected = std::string(kText) + "\n\xFF\nfile:7: assertion failed: " + kText +
                               ": " + std::string(2000, 'm') + "\n";
  EXPECT_EQ(bytes.substr(0, expected.size()), expected);
  EXPECT_NE(bytes.find("no such module"), std::string::npos);
}
