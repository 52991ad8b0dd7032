#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/ztk_tool_support.h"
#include "tools/ztk/progress.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

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

TEST_F(ZtkTool, ConvertsInPlaceAndKeepsHardLinks) {
  const std::string file = Put("a.txt", "x\r\n");
  std::filesystem::create_hard_link(file, m_dir / "b.txt");
  EXPECT_EQ(RunTool({"text", "convert", "-i", "--line-ends", "lf", file}).nExitCode, 0);
  EXPECT_EQ(ReadWholeFile(m_dir / "b.txt"), "x\n");
  WriteWholeFile(m_dir / "b.txt", "other");
  EXPECT_EQ(ReadWholeFile(file), "other");
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
  const ToolResult paths = RunTool({"path", "normalise", "--from", "unix", "/../a", "/b"});
  EXPECT_EQ(paths.nExitCode, 1);
  EXPECT_EQ(paths.output, "/b\n");
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
