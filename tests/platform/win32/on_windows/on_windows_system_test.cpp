// Timers, consoles and interrupts as Windows itself has them.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/win32/on_windows/on_windows.h"
#include "tests/support/temp_dir.h"
#include "ztk/system/timer.h"

namespace {

class Stopwatch : public ZTKTimer {
 public:
  void Notify() override {
    times.push_back(ZTKEventLoop::Main().Now());
    if (times.size() == kWanted) ZTKEventLoop::Main().Quit();
  }
  static constexpr size_t kWanted = 200;
  std::vector<std::int64_t> times;
};

// Timers of 15.6 ms would come every sixteenth time. That the machine is busy now and then does not
// move the median.
TEST_F(OnWindows, AMillisecondIsNoSixteen) {
  Stopwatch timer;
  ASSERT_TRUE(timer.Start(1, 0));
  ZTKEventLoop::Main().Run();
  timer.Stop();
  std::vector<std::int64_t> periods;
  for (size_t i = 1; i < timer.times.size(); ++i) {
    periods.push_back(timer.times[i] - timer.times[i - 1]);
  }
  std::sort(periods.begin(), periods.end());
  const std::int64_t median = periods[periods.size() / 2];
  std::printf("  a timer of 1 ms: %.3f ms at the median, %.3f ms at most\n",
              static_cast<double>(median) / 1e6, static_cast<double>(periods.back()) / 1e6);
  EXPECT_LT(median, 3'000'000);
}

// The tool that lies beside this program.
std::wstring ToolBeside() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.rfind(L'\\') + 1) + L"ztk.exe";
}

TEST_F(OnWindows, TheToolPrintsUtf8OnAConsole) {
  const std::wstring tool = ToolBeside();
  if (GetFileAttributesW(tool.c_str()) == INVALID_FILE_ATTRIBUTES) {
    GTEST_SKIP() << "ztk.exe does not lie beside this program";
  }
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  const auto createScreen = [&] {
    return CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                     CONSOLE_TEXTMODE_BUFFER, nullptr);
  };
  HANDLE screen = createScreen();
  bool isOwn = false;
  if (screen == INVALID_HANDLE_VALUE) {
    FreeConsole();
    isOwn = AllocConsole() != 0;
    screen = createScreen();
  }
  ASSERT_NE(screen, INVALID_HANDLE_VALUE) << "error " << GetLastError();
  const std::wstring text = L"\x00E4\x20AC\x0416.txt";
  std::wstring line = L"\"" + tool + L"\" path convert --from unix --to unix " + text;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = screen;
  startup.hStdError = screen;
  const UINT codePage = GetConsoleOutputCP();
  PROCESS_INFORMATION process = {};
  ASSERT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                           &startup, &process),
            0);
  WaitForSingleObject(process.hProcess, INFINITE);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  std::wstring shown(text.size(), L'\0');
  DWORD count = 0;
  EXPECT_NE(ReadConsoleOutputCharacterW(screen, shown.data(), static_cast<DWORD>(shown.size()),
                                        COORD{0, 0}, &count),
            0);
  EXPECT_EQ(shown, text);
  EXPECT_EQ(GetConsoleOutputCP(), codePage) << "the console is left as it was";
  CloseHandle(screen);
  if (isOwn) FreeConsole();
}

// Started in a group of its own: an interrupt then is CTRL_BREAK_EVENT.
TEST_F(OnWindows, AnInterruptEndsTheToolAndLeavesNoCopy) {
  const std::wstring tool = ToolBeside();
  if (GetFileAttributesW(tool.c_str()) == INVALID_FILE_ATTRIBUTES) {
    GTEST_SKIP() << "ztk.exe does not lie beside this program";
  }
  const TempDir dir;
  const ScopedEnv temp("TMP", dir.Path().string().c_str());
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  ASSERT_NE(CreatePipe(&readEnd, &writeEnd, &inherited, 0), 0);
  SetHandleInformation(writeEnd, HANDLE_FLAG_INHERIT, 0);
  std::wstring line = L"\"" + tool + L"\" text convert -";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = readEnd;
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  ASSERT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                           nullptr, nullptr, &startup, &process),
            0);
  DWORD written = 0;
  EXPECT_NE(WriteFile(writeEnd, "abc", 3, &written, nullptr), 0);
  for (DWORD left = 3; left > 0; Sleep(1)) {  // Until the tool waits for more.
    if (PeekNamedPipe(readEnd, nullptr, 0, nullptr, &left, nullptr) == 0) break;
  }
  EXPECT_FALSE(std::filesystem::is_empty(dir.Path())) << "the copy of what is no file";
  const bool isSent = GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, process.dwProcessId) != 0;
  EXPECT_TRUE(isSent) << "error " << GetLastError();
  if (!isSent) TerminateProcess(process.hProcess, 1);
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(process.hProcess, &status);
  EXPECT_EQ(status, 0xC000013Au);
  EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
  for (const HANDLE handle : {process.hThread, process.hProcess, readEnd, writeEnd}) {
    CloseHandle(handle);
  }
}

}  // namespace
