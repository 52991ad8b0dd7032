#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/temp_dir.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/run_tool_windows.h"

std::wstring WideText(const std::string& text) {
  const auto length = static_cast<int>(text.size());
  std::wstring wide(
      static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::wstring ToolCommandLine(const std::vector<std::string>& arguments) {
  std::wstring line = L"\"" + WideText(ZTK_TOOL_PATH) + L"\"";
  for (const std::string& argument : arguments) {
    line += L" \"";
    size_t backslashes = 0;  // Those in front of a quote are doubled.
    for (const wchar_t ch : WideText(argument)) {
      if (ch == L'"') line.append(backslashes + 1, L'\\');
      backslashes = ch == L'\\' ? backslashes + 1 : 0;
      line += ch;
    }
    line.append(backslashes, L'\\');
    line += L'"';
  }
  return line;
}

namespace {

HANDLE OpenInherited(const std::string& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  return CreateFileW(WideText(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                     disposition, 0, nullptr);
}

}  // namespace

ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& input) {
  const TempDir dir;
  WriteWholeFile(dir / "in", input);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = OpenInherited(dir / "in", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = OpenInherited(dir / "out", GENERIC_WRITE, CREATE_NEW);
  startup.hStdError = OpenInherited(dir / "err", GENERIC_WRITE, CREATE_NEW);
  std::wstring line = ToolCommandLine(arguments);
  PROCESS_INFORMATION tool = {};
  const bool isStarted = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &startup, &tool) != 0;
  for (const HANDLE stream : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    CloseHandle(stream);
  }
  ToolResult result;
  if (!isStarted) {
    ADD_FAILURE() << "the tool cannot be started: " << GetLastError();
    return result;
  }
  WaitForSingleObject(tool.hProcess, INFINITE);
  DWORD nStatus = 0;
  GetExitCodeProcess(tool.hProcess, &nStatus);
  CloseHandle(tool.hThread);
  CloseHandle(tool.hProcess);
  result.nExitCode = static_cast<int>(nStatus);
  result.output = ReadWholeFile(dir / "out");
  result.errors = ReadWholeFile(dir / "err");
  return result;
}
