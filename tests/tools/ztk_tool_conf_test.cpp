// The tool on configurations.

#include <filesystem>
#include <string>
#include <vector>

#include "tests/tools/ztk_tool_support.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

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

}  // namespace
