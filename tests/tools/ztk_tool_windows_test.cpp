// The tool as Windows starts it: wide arguments, its paths and devices.

#include <windows.h>

#include <filesystem>
#include <string>

#include "tests/tools/run_tool_windows.h"
#include "tests/tools/ztk_tool_support.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

long CountNames(const TempDir& dir) {
  return static_cast<long>(std::distance(std::filesystem::directory_iterator(dir.Path()),
                                         std::filesystem::directory_iterator()));
}

TEST_F(ZtkTool, TakesNamesOfAnyScriptAndPrintsThemAsUtf8) {
  for (const std::string name :
       {"\xC3\xA4\xE2\x82\xAC.txt", "\xF0\x9F\x93\x81.txt", "a \"b\".txt", "back\\slash"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(RunTool({"path", "convert", "--from", "unix", "--to", "unix", name}).output,
              name + '\n');
  }
  const std::string name = "\xE6\x96\x87\xF0\x9F\x93\x81.txt";
  const std::wstring wide = (m_dir.Path() / WideText(name)).wstring();
  const HANDLE file = CreateFileW(wide.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  WriteFile(file, "x\r\n", 3, &written, nullptr);
  CloseHandle(file);
  const std::string path = m_dir / "" + name;
  EXPECT_EQ(RunTool({"text", "convert", "-i", "--line-ends", "lf", path}).nExitCode, 0);
  const ToolResult info = RunTool({"text", "info", path});
  EXPECT_EQ(info.nExitCode, 0);
  EXPECT_THAT(info.output, HasSubstr(name + "\n"));
  EXPECT_THAT(info.output, HasSubstr("1 LF, 0 CR LF"));
  EXPECT_EQ(CountNames(m_dir), 1);
}

TEST_F(ZtkTool, RefusesAnArgumentThatIsNoText) {
  std::wstring line = ToolCommandLine({"text", "info"}) + L" a\xD83Dz";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION tool = {};
  ASSERT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &tool),
            0);
  WaitForSingleObject(tool.hProcess, INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(tool.hProcess, &status);
  EXPECT_EQ(status, 2u);
  CloseHandle(tool.hThread);
  CloseHandle(tool.hProcess);
}

// Whatever the code page of the system is.
TEST_F(ZtkTool, ReadsLinesWithoutAMarkAsUtf8OrAsWindows1252) {
  std::string text = "caf\xC3\xA9 \xF0\x9F\x93\x81\r\n\xFF\xFE\x80\x81\r";
  text += std::string(70000, 'x') + "\xE9\nend";
  std::string expected = "caf\xC3\xA9 \xF0\x9F\x93\x81\r\n\xC3\xBF\xC3\xBE\xE2\x82\xAC\xC2\x81\r";
  expected += std::string(70000, 'x') + "\xC3\xA9\nend";
  EXPECT_EQ(RunTool({"text", "convert", "-"}, text).output, expected);
  const std::string file = Put("a.txt", text);
  EXPECT_EQ(RunTool({"text", "convert", "-i", file}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(file), expected);
  EXPECT_EQ(CountNames(m_dir), 1);
}

TEST_F(ZtkTool, PrintsLineEndsAsTheyAre) {
  EXPECT_EQ(RunTool({"text", "convert", "-"}, "a\nb\r\n\x1A").output, "a\nb\r\n\x1A");
  EXPECT_EQ(RunTool({"path", "convert", "a"}).output, "a\n");
}

TEST_F(ZtkTool, NormalisesPathsOfDrives) {
  const ScopedEnv place("ZTK_PLACE", "C:\\place");
  EXPECT_EQ(RunTool({"path", "normalise", "$ZTK_PLACE\\.\\a"}).output, "C:\\place\\a\n");
  EXPECT_EQ(RunTool({"path", "normalise", "--cwd", "C:\\x\\y", "a"}).output, "C:\\x\\y\\a\n");
  EXPECT_EQ(RunTool({"path", "normalise", "\\\\server\\share\\.\\a"}).output,
            "\\\\server\\share\\a\n");
  const ToolResult warned = RunTool({"path", "normalise", "C:\\a\\..\\b"});
  EXPECT_EQ(warned.output, "C:\\a\\b\n");
  EXPECT_EQ(warned.errors, "ztk: warning: C:\\a\\..\\b: \"..\" leads the system to C:\\b\n");
}

TEST_F(ZtkTool, WritesIntoADevice) {
  const ToolResult result = RunTool({"text", "convert", "-o", "NUL", "-"}, "caf\xE9");
  EXPECT_EQ(result.nExitCode, 0) << result.errors;
  EXPECT_EQ(RunTool({"text", "convert", "-i", "NUL"}).nExitCode, 3);
  const ToolResult reserved = RunTool({"text", "convert", "-o", m_dir / "x.", "-"}, "a");
  EXPECT_EQ(reserved.nExitCode, 3);
  EXPECT_EQ(CountNames(m_dir), 0);
}

TEST_F(ZtkTool, LeavesAReadOnlyFileAndNamesTheReason) {
  const std::string file = Put("a.txt", "x\r\n");
  ASSERT_NE(SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_READONLY), 0);
  const ToolResult result = RunTool({"text", "convert", "-i", "--line-ends", "lf", file});
  EXPECT_EQ(result.nExitCode, 3);
  EXPECT_THAT(result.errors, EndsWith("Permission denied\n"));
  EXPECT_EQ(ReadWholeFile(file), "x\r\n");
  SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_NORMAL);
}

// A configuration of an application is among the preferences of the user: looked at only.
TEST_F(ZtkTool, LooksForAnApplicationAmongThePreferences) {
  const ToolResult result = RunTool({"conf", "ztk no such application", "list"});
  EXPECT_EQ(result.nExitCode, 1);
  EXPECT_THAT(result.errors, HasSubstr("\\AppData\\Roaming\\ztk no such application.conf"));
}

}  // namespace
