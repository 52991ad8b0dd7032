#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/tools/run_tool.h"
#include "tools/ztk/progress.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

constexpr const char* kLegacy = "caf\xE9\r\nna\xC3\xAFve\nend";

class ZtkTool : public testing::Test {
 protected:
  std::string Put(const std::string& name, const std::string& content) {
    WriteWholeFile(m_dir / name, content);
    return m_dir / name;
  }

  TempDir m_dir;
  ScopedEnv m_home{"XDG_CONFIG_HOME", m_dir.Path().c_str()};
  ScopedEnv m_temp{"TMPDIR", m_dir.Path().c_str()};
};

TEST_F(ZtkTool, TellsItsVersionAndItsCommands) {
  EXPECT_EQ(RunTool({"--version"}).output, "ztk 1.0.0\n");
  const ToolResult help = RunTool({"--help"});
  EXPECT_EQ(help.nExitCode, 0);
  for (const char* command : {"text", "conf", "path", "data"}) {
    EXPECT_THAT(help.output, HasSubstr(command));
  }
}

TEST_F(ZtkTool, RefusesACommandLineThatMakesNoSense) {
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"texts"},
      {"text"},
      {"text", "info"},
      {"text", "convert", "-", "--line-ends", "vt"},
      {"text", "convert", "-", "--in-place"},
      {"text", "convert", "a", "b"},
      {"text", "convert", "a", "--in-place", "-o", "b"},
      {"path", "split", "a", "--from", "amiga"},
      {"data", "dump", "-"},
      {"data", "dump", "-", "--layout", "u7"},
      {"data", "dump", "-", "--layout", "u8", "--order", "middle"},
      {"conf", "a.conf"},
      {"conf", "./a.ini", "list"},
      {"conf", "a", "set", "G", "k=", "v"},
      {"conf", "a", "set", "G", "#k", "v"},
      {"conf", "a", "set", "G", " k", "v"},
      {"conf", "a", "set", "G", "k", "v\nw"},
      {"conf", "a", "set", "G", "k", "v "},
      {"conf", "a", "set", "../G", "k", "v"},
      {"conf", "a", "set", "/G", "k", "v"},
  };
  for (const auto& line : lines) {
    SCOPED_TRACE(testing::PrintToString(line));
    const ToolResult result = RunTool(line);
    EXPECT_EQ(result.nExitCode, 2);
    EXPECT_NE(result.errors, "");
    EXPECT_EQ(result.output, "");
  }
}

TEST_F(ZtkTool, ReportsOnATextFile) {
  const ToolResult result = RunTool({"text", "info", Put("a.txt", kLegacy)});
  EXPECT_EQ(result.nExitCode, 0);
  EXPECT_EQ(result.output, (m_dir / "a.txt") +
                               "\n"
                               "  encoding    UTF-8 and Windows-1252, without a mark\n"
                               "  size        16 bytes, 3 lines, the last one not ended\n"
                               "  line ends   1 LF, 1 CR LF, 0 CR\n"
                               "  not UTF-8   first at byte 3\n");
}

TEST_F(ZtkTool, ReportsOnStandardInputAsJson) {
  const ToolResult result = RunTool({"text", "info", "--json", "-"},
                                    "\xEF\xBB\xBF"
                                    "a\r");
  EXPECT_EQ(result.nExitCode, 0);
  EXPECT_EQ(result.output,
            "[\n"
            "  {\n"
            "    \"file\": \"standard input\",\n"
            "    \"encoding\": \"UTF-8\",\n"
            "    \"mark\": true,\n"
            "    \"bytes\": 5,\n"
            "    \"lines\": 1,\n"
            "    \"lineEnds\": {\n"
            "      \"lf\": 0,\n"
            "      \"crlf\": 0,\n"
            "      \"cr\": 1\n"
            "    },\n"
            "    \"endsInLineEnd\": true,\n"
            "    \"firstIllFormed\": null,\n"
            "    \"firstNul\": null\n"
            "  }\n"
            "]\n");
}

TEST_F(ZtkTool, SaysByItsExitCodeThatATextIsDamaged) {
  EXPECT_EQ(RunTool({"text", "info", "-"}, "\xFF\xFE\x00\xD8"s).nExitCode, 1);
  EXPECT_EQ(RunTool({"text", "info", "-"}, "a\0b"s).nExitCode, 1);
}

TEST_F(ZtkTool, NamesAFileThatCannotBeRead) {
  for (const char* command : {"info", "convert"}) {
    SCOPED_TRACE(command);
    const ToolResult missing = RunTool({"text", command, m_dir / "missing"});
    EXPECT_EQ(missing.nExitCode, 3);
    EXPECT_EQ(missing.errors, "ztk: " + (m_dir / "missing") + ": No such file or directory\n");
    const ToolResult folder = RunTool({"text", command, m_dir.Path().string()});
    EXPECT_EQ(folder.nExitCode, 3);
    EXPECT_THAT(folder.errors, HasSubstr("Is a directory"));
  }
}

TEST_F(ZtkTool, ConvertsToUtf8OnStandardOutput) {
  EXPECT_EQ(RunTool({"text", "convert", "-"}, kLegacy).output, "caf\xC3\xA9\r\nna\xC3\xAFve\nend");
  EXPECT_EQ(RunTool({"text", "convert", "-", "--line-ends", "lf"}, kLegacy).output,
            "caf\xC3\xA9\nna\xC3\xAFve\nend");
  EXPECT_EQ(
      RunTool({"text", "convert", "-", "--line-ends", "crlf", "--mark", "yes"}, "a\rb\n").output,
      "\xEF\xBB\xBF"
      "a\r\nb\r\n");
  EXPECT_EQ(RunTool({"text", "convert", "-", "--line-ends", "cr"}, "a\r\nb").output, "a\rb");
}

TEST_F(ZtkTool, ConvertsUtf16InEitherOrderAndKeepsTheMark) {
  EXPECT_EQ(RunTool({"text", "convert", "-"}, "\xFF\xFE\x3D\xD8\x00\xDE\n\0"s).output,
            "\xEF\xBB\xBF\xF0\x9F\x98\x80\n");
  EXPECT_EQ(RunTool({"text", "convert", "-", "--mark", "no"}, "\xFE\xFF\xD8\x3D\xDE\x00"s).output,
            "\xF0\x9F\x98\x80");
}

TEST_F(ZtkTool, RefusesToLoseCharacters) {
  const ToolResult nul = RunTool({"text", "convert", "-"}, "a\0b"s);
  EXPECT_EQ(nul.nExitCode, 1);
  EXPECT_EQ(nul.errors, "ztk: standard input: binary: NUL at byte 1: this is no text\n");
  EXPECT_EQ(nul.output, "");

  const std::string damaged = Put("damaged",
                                  "\xEF\xBB\xBF"
                                  "a\xFFz");
  const ToolResult result = RunTool({"text", "convert", "--in-place", damaged});
  EXPECT_EQ(result.nExitCode, 1);
  EXPECT_EQ(ReadWholeFile(damaged),
            "\xEF\xBB\xBF"
            "a\xFFz");
  EXPECT_EQ(RunTool({"text", "convert", "--replace", damaged}).output,
            "\xEF\xBB\xBF"
            "a\xEF\xBF\xBDz");
  EXPECT_EQ(
      RunTool({"text", "convert", "--replace", "--mark", "no", "-"}, "\xFF\xFE\x00\xD8"s).output,
      "\xEF\xBF\xBD");
}

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

TEST_F(ZtkTool, ConvertsInPlaceAndKeepsHardLinks) {
  const std::string file = Put("a.txt", "x\r\n");
  std::filesystem::create_hard_link(file, m_dir / "b.txt");
  EXPECT_EQ(RunTool({"text", "convert", "-i", "--line-ends", "lf", file}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(m_dir / "b.txt"), "x\n");
  EXPECT_EQ(std::filesystem::hard_link_count(file), 2u);
}

TEST_F(ZtkTool, OneBadFileDoesNotStopTheOthers) {
  const std::string binary = Put("binary", "a\0b"s);
  const std::string good = Put("good", "x\r\n");
  const std::string missing = m_dir / "missing";
  const ToolResult result =
      RunTool({"text", "convert", "-i", "--line-ends", "lf", missing, binary, good});
  EXPECT_EQ(result.nExitCode, 3);
  EXPECT_EQ(result.errors, "ztk: " + missing + ": No such file or directory\nztk: " + binary +
                               ": binary: NUL at byte 1: this is no text\n");
  EXPECT_EQ(ReadWholeFile(good), "x\n");
  const ToolResult info = RunTool({"text", "info", missing, good});
  EXPECT_EQ(info.nExitCode, 3);
  EXPECT_THAT(info.output, HasSubstr("1 LF"));
  const ToolResult paths = RunTool({"path", "normalise", "/../a", "/b"});
  EXPECT_EQ(paths.nExitCode, 1);
  EXPECT_EQ(paths.output, "/b\n");
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

TEST_F(ZtkTool, CallsUtf32AndBinariesByTheirNames) {
  const std::vector<std::pair<std::string, const char*>> rows = {
      {"\xFF\xFE\0\0a\0\0\0"s, "UTF-32LE"},
      {"\0\0\xFE\xFF\0\0\0a"s, "UTF-32BE"},
      {"a\0"s, "binary"}};
  for (const auto& [bytes, name] : rows) {
    SCOPED_TRACE(name);
    const ToolResult info = RunTool({"text", "info", "-"}, bytes);
    EXPECT_EQ(info.nExitCode, 1);
    EXPECT_THAT(info.output, HasSubstr(std::string("encoding    ") + name));
    const ToolResult convert = RunTool({"text", "convert", "--replace", "-"}, bytes);
    EXPECT_EQ(convert.nExitCode, 1);
    EXPECT_EQ(convert.output, "");
    EXPECT_THAT(convert.errors, HasSubstr(name));
  }
}

TEST_F(ZtkTool, NamesAnUnknownSubcommand) {
  EXPECT_THAT(RunTool({"texts"}).errors, HasSubstr("ztk: texts: no such subcommand"));
  EXPECT_THAT(RunTool({"text", "inf", "x"}).errors, HasSubstr("ztk: text inf: no such subcommand"));
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

TEST_F(ZtkTool, WritesToAnotherFileWhateverItsName) {
  const ScopedWorkingDirectory inside(m_dir.Path());
  const ToolResult result = RunTool({"text", "convert", "-o", "$HOME~.txt", "-"}, "a\xE9");
  EXPECT_EQ(result.nExitCode, 0) << result.errors;
  EXPECT_EQ(ReadWholeFile(m_dir / "$HOME~.txt"), "a\xC3\xA9");
}

TEST_F(ZtkTool, TellsWhenTheTargetCannotBeWritten) {
  const ToolResult result = RunTool({"text", "convert", "-o", m_dir / "no/such/file", "-"}, "a");
  EXPECT_EQ(result.nExitCode, 3);
  EXPECT_THAT(result.errors, HasSubstr("no/such/file"));
}

TEST_F(ZtkTool, SplitsAPath) {
  EXPECT_EQ(RunTool({"path", "split", "C:\\dir\\sub\\a.b.txt", "--from", "dos"}).output,
            "C:\\dir\\sub\\a.b.txt\n"
            "  volume      C\n"
            "  folders     dir | sub\n"
            "  name        a.b\n"
            "  extension   txt\n"
            "  absolute    yes\n");
  EXPECT_EQ(RunTool({"path", "split", "a/b", "--from", "unix", "--json"}).output,
            "[\n"
            "  {\n"
            "    \"path\": \"a/b\",\n"
            "    \"volume\": \"\",\n"
            "    \"folders\": [\n"
            "      \"a\"\n"
            "    ],\n"
            "    \"name\": \"b\",\n"
            "    \"extension\": \"\",\n"
            "    \"relative\": true,\n"
            "    \"absolute\": false\n"
            "  }\n"
            "]\n");
}

TEST_F(ZtkTool, ConvertsPathsFromStandardInput) {
  EXPECT_EQ(
      RunTool({"path", "convert", "--from", "dos", "--to", "vms", "-"}, "C:\\dir\\a.txt\nD:\\b\n")
          .output,
      "C:[dir]a.txt\nD:b\n");
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

TEST_F(ZtkTool, EditsAConfigurationByItsPath) {
  const std::string file = m_dir / "painter.conf";
  EXPECT_EQ(RunTool({"conf", file, "set", "Painter/Window", "Width", "640"}).nExitCode, 0);
  EXPECT_EQ(RunTool({"conf", file, "set", "Painter", "Title", "a = b; c"}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(file),
            "\xEF\xBB\xBF[Painter/Window]\r\nWidth=640\r\n\r\n[Painter]\r\nTitle=a = b; c\r\n");
  EXPECT_EQ(RunTool({"conf", file, "list"}).output,
            "[Painter]\nTitle=a = b; c\n[Painter/Window]\nWidth=640\n");
  EXPECT_EQ(RunTool({"conf", file, "list", "Painter/Window"}).output,
            "[Painter/Window]\nWidth=640\n");
  EXPECT_EQ(RunTool({"conf", file, "get", "Painter", "Title"}).output, "a = b; c\n");
  EXPECT_EQ(RunTool({"conf", file, "get", "Painter", "Title", "--json"}).output, "\"a = b; c\"\n");
  EXPECT_EQ(RunTool({"conf", file, "export"}).output,
            "{\n"
            "  \"Painter\": {\n"
            "    \"Title\": \"a = b; c\"\n"
            "  },\n"
            "  \"Painter/Window\": {\n"
            "    \"Width\": \"640\"\n"
            "  }\n"
            "}\n");
  EXPECT_EQ(RunTool({"conf", file, "delete", "Painter", "Title"}).nExitCode, 0);
  EXPECT_EQ(RunTool({"conf", file, "delete", "Painter/Window"}).nExitCode, 0);
  EXPECT_EQ(RunTool({"conf", file, "list"}).output, "");
}

TEST_F(ZtkTool, LeavesCommentsAndOrderOfAConfigurationAlone) {
  const std::string file = Put("painter.conf",
                               "; by hand\n"
                               "[Painter/Window]\n"
                               "Width=640\n"
                               "\n"
                               "Height=480  \n"
                               "[Painter]\n"
                               "Title=Still life\n");
  EXPECT_EQ(RunTool({"conf", file, "set", "Painter/Window", "Width", "800"}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(file),
            "; by hand\n"
            "[Painter/Window]\n"
            "Width=800\n"
            "\n"
            "Height=480  \n"
            "[Painter]\n"
            "Title=Still life\n");
  EXPECT_FALSE(std::filesystem::exists(file + ".lock"));
}

TEST_F(ZtkTool, FindsAConfigurationByTheNameOfItsApplication) {
  Put("Painter.conf", "[Painter]\nWidth=640\n");
  EXPECT_EQ(RunTool({"conf", "Painter", "get", "Painter", "Width"}).output, "640\n");
}

TEST_F(ZtkTool, SaysNoWhenThereIsNoSuchEntryAndChangesNothing) {
  const std::string content = "; kept as it is\n[Painter]\nWidth=640\n";
  const std::string file = Put("painter.conf", content);
  const std::vector<std::vector<std::string>> lines = {
      {"get", "Painter", "Height"},    {"get", "Writer", "Width"},   {"list", "Writer"},
      {"delete", "Painter", "Height"}, {"delete", "Painter/Window"}, {"delete", "Writer", "Width"}};
  for (const auto& line : lines) {
    SCOPED_TRACE(testing::PrintToString(line));
    std::vector<std::string> arguments = {"conf", file};
    arguments.insert(arguments.end(), line.begin(), line.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.nExitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr(file + ": there is no "));
    EXPECT_EQ(ReadWholeFile(file), content);
  }
}

TEST_F(ZtkTool, CreatesNoConfigurationByLookingAtIt) {
  EXPECT_EQ(RunTool({"conf", m_dir / "missing.conf", "list"}).nExitCode, 1);
  EXPECT_EQ(RunTool({"conf", "missing", "get", "A", "b"}).nExitCode, 1);
  EXPECT_FALSE(std::filesystem::exists(m_dir / "missing.conf"));
  EXPECT_EQ(RunTool({"conf", m_dir / "no/such.conf", "set", "A", "b", "c"}).nExitCode, 3);
}

TEST_F(ZtkTool, DumpsADataStream) {
  const std::string bytes("\x02\0\0\0hi\x01\x02", 8);
  EXPECT_EQ(
      RunTool({"data", "dump", "-", "--layout", "str u16", "--order", "little"}, bytes).output,
      "little-endian\n"
      "         0  str   \"hi\"\n"
      "         6  u16   513                  0x0201\n");
  const ToolResult both = RunTool({"data", "dump", "-", "--layout", "str u16"}, bytes);
  EXPECT_EQ(both.nExitCode, 0);
  EXPECT_THAT(both.output, HasSubstr("big-endian\n  at byte 0: str needs 33554436 bytes, 8 are "
                                     "left\n  8 bytes are left\n"));
  const ToolResult json =
      RunTool({"data", "dump", "-", "--layout", "i8", "--order", "big", "--json"},
              "\xFF"
              "z");
  EXPECT_EQ(json.output,
            "[\n"
            "  {\n"
            "    \"order\": \"big\",\n"
            "    \"values\": [\n"
            "      {\n"
            "        \"offset\": 0,\n"
            "        \"type\": \"i8\",\n"
            "        \"value\": -1\n"
            "      }\n"
            "    ],\n"
            "    \"left\": 1\n"
            "  }\n"
            "]\n");
  EXPECT_EQ(RunTool({"data", "dump", "-", "--layout", "u32"}, "abc").nExitCode, 1);
}

TEST_F(ZtkTool, ShowsUnprintableBytesOfAString) {
  EXPECT_THAT(RunTool({"data", "dump", "-", "--layout", "str", "--order", "little"},
                      "\x04\0\0\0\"\n\xFF\\"s)
                  .output,
              HasSubstr("\"\\\"\\x0A\\xFF\\\\\""));
  EXPECT_THAT(
      RunTool({"data", "dump", "-", "--layout", "str", "--order", "little"}, "\x02\0\0\0\xC3\xA9"s)
          .output,
      HasSubstr("\"\xC3\xA9\""));
}

TEST(ProgressBar, FillsWithTheWork) {
  EXPECT_EQ(ProgressBar(0, 8, 4), "[....]   0 %");
  EXPECT_EQ(ProgressBar(4, 8, 4), "[##..]  50 %");
  EXPECT_EQ(ProgressBar(8, 8, 4), "[####] 100 %");
  EXPECT_EQ(ProgressBar(9, 8, 4), "[####] 100 %");
  EXPECT_EQ(ProgressBar(0, 0, 4), "[####] 100 %");
}

}  // namespace
