#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

/// This program once more, with one of its disabled cases. What that has to know goes through the
/// environment.
class ChildProcess {
 public:
  explicit ChildProcess(const std::string& testCase) {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string command = '"' + std::string(program) +
                          "\" --gtest_also_run_disabled_tests --gtest_filter=" + testCase;
    // Its "PASSED" is not that of this program.
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const HANDLE nowhere = CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                       &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = nowhere;
    EXPECT_NE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                             &startup, &m_child),
              0);
    CloseHandle(nowhere);
  }
  ~ChildProcess() {
    CloseHandle(m_child.hThread);
    CloseHandle(m_child.hProcess);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool IsRunning() const { return WaitForSingleObject(m_child.hProcess, 0) == WAIT_TIMEOUT; }
  void Kill() const {
    TerminateProcess(m_child.hProcess, 1);
    Wait();
  }
  /// The status that it ends with.
  int Wait() const {
    DWORD status = 0;
    WaitForSingleObject(m_child.hProcess, INFINITE);
    GetExitCodeProcess(m_child.hProcess, &status);
    return static_cast<int>(status);
  }

 private:
  PROCESS_INFORMATION m_child = {};
};
