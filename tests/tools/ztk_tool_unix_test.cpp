// The tool on what Unix alone has: its paths, links, modes, pipes, devices and signals.

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/tools/ztk_tool_support.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

TEST_F(ZtkTool, ConvertsInPlaceAndKeepsModeAndLink) {
  const std::string file = Put("a.txt", kLegacy);
  chmod(file.c_str(), 0640);
  std::filesystem::create_symlink("a.txt", m_dir / "link");
  const std::string other = Put("b.txt", "x\r\n");

  EXPECT_EQ(
      RunTool({"text", "convert", "-i", "--line-ends", "lf", m_dir / "link", other}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(file), "caf\xC3\xA9\nna\xC3\xAFve\nend");
  EXPECT_EQ(ReadWholeFile(other), "x\n");
  EXPECT_TRUE(std::filesystem::is_symlink(m_dir / "link"));
  struct stat status = {};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
  // No temporary file is left.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_dir.Path()), {}), 3);
}

TEST_F(ZtkTool, WritesIntoWhatIsNoRegularFile) {
  const std::string pipe = m_dir / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int fd = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_EQ(RunTool({"text", "convert", "-o", pipe, "-"}, "caf\xE9").nExitCode, 0);
  char bytes[8] = {};
  EXPECT_EQ(read(fd, bytes, sizeof bytes), 5);
  EXPECT_STREQ(bytes, "caf\xC3\xA9");
  close(fd);
  EXPECT_EQ(std::filesystem::status(pipe).type(), std::filesystem::file_type::fifo);

  const ToolResult full = RunTool({"text", "convert", "-o", "/dev/full", "-"}, "a");
  EXPECT_EQ(full.nExitCode, 3);
  EXPECT_EQ(full.errors, "ztk: /dev/full: No space left on device\n");
  const ToolResult inPlace = RunTool({"text", "convert", "-i", pipe});
  EXPECT_EQ(inPlace.nExitCode, 3);
  EXPECT_EQ(std::filesystem::status(pipe).type(), std::filesystem::file_type::fifo);
}

TEST_F(ZtkTool, StopsAtTheFirstFailedWriteOfItsCopyAndLeavesNone) {
  const std::string input = Put("input", std::string(300000, 'x'));
  const std::string command = std::string("ulimit -f 100; trap '' XFSZ; cat '") + input +
                              "' | exec '" ZTK_TOOL_PATH "' text convert - 2>'" +
                              (m_dir / "errors") + "'";
  EXPECT_NE(std::system(("bash -c \"set -o pipefail; " + command + "\"").c_str()), 0);
  EXPECT_THAT(ReadWholeFile(m_dir / "errors"), HasSubstr("File too large"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_dir.Path()), {}), 2);
}

// An endless input is given up at its first NUL, and any input at a signal.
TEST_F(ZtkTool, EndsWithinASecond) {
  EXPECT_EQ(RunTool({"text", "convert", "/dev/zero"}).nExitCode, 1);
  int ends[2] = {};
  ASSERT_EQ(pipe(ends), 0);
  for (const int number : {SIGINT, SIGTERM}) {
    const pid_t child = fork();
    if (child == 0) {
      dup2(ends[0], 0);
      signal(number, SIG_DFL);
      execl(ZTK_TOOL_PATH, "ztk", "text", "convert", "-", nullptr);
      _exit(127);
    }
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    for (int left = 3; left > 0;) {  // Until the tool waits for more.
      ASSERT_EQ(ioctl(ends[1], FIONREAD, &left), 0);
      std::this_thread::yield();
    }
    kill(child, number);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), number);
  }
  close(ends[0]);
  close(ends[1]);
  EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(ZtkTool, WarnsWhereTheSystemWouldGoElsewhere) {
  const ToolResult warned = RunTool({"path", "normalise", "/a/../b"});
  EXPECT_EQ(warned.nExitCode, 0);
  EXPECT_EQ(warned.output, "/a/b\n");
  EXPECT_EQ(warned.errors, "ztk: warning: /a/../b: \"..\" leads the system to /b\n");
  EXPECT_EQ(RunTool({"path", "normalise", "/a/./b", "/a..b"}).errors, "");
}

TEST_F(ZtkTool, WritesToAFileWhoseNameEndsInADot) {
  Put("notes", "other");
  EXPECT_EQ(RunTool({"text", "convert", "-o", m_dir / "notes.", "-"}, "a\xE9").nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(m_dir / "notes."), "a\xC3\xA9");
  EXPECT_EQ(ReadWholeFile(m_dir / "notes"), "other");
}

TEST_F(ZtkTool, NormalisesPaths) {
  const ScopedEnv place("ZTK_PLACE", "/place");
  EXPECT_EQ(RunTool({"path", "normalise", "$ZTK_PLACE/./a"}).output, "/place/a\n");
  EXPECT_EQ(RunTool({"path", "normalise", "--cwd", "/x/y", "a"}).output, "/x/y/a\n");
  EXPECT_EQ(RunTool({"path", "normalise", "--literal", "/$ZTK_PLACE/~"}).output, "/$ZTK_PLACE/~\n");
  EXPECT_EQ(RunTool({"path", "normalise", "--case", "--from", "dos", "C:\\DIR\\A.TXT"}).output,
            "c:\\dir\\a.txt\n");
  std::filesystem::create_symlink("/place/target", m_dir / "link");
  EXPECT_EQ(RunTool({"path", "normalise", "--links", m_dir / "link"}).output, "/place/target\n");
  EXPECT_EQ(RunTool({"path", "normalise", "/../a"}).nExitCode, 1);
}

TEST_F(ZtkTool, FindsAConfigurationByTheNameOfItsApplication) {
  Put("Painter.conf", "[Painter]\nWidth=640\n");
  EXPECT_EQ(RunTool({"conf", "Painter", "get", "Painter", "Width"}).output, "640\n");
}

}  // namespace
