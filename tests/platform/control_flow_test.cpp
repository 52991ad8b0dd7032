// That the libraries say that they may run under control-flow protection, and that it is true.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

std::string Readelf(const char* pszLibrary) {
  const std::string command = std::string(ZTK_READELF " -W -n -d '") + pszLibrary + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), pclose);
  EXPECT_NE(output, nullptr);
  std::string text;
  for (int ch; output != nullptr && (ch = std::getc(output.get())) != EOF;) {
    text += static_cast<char>(ch);
  }
  return text;
}

bool Contains(const std::string& text, const char* pszPart) {
  return text.find(pszPart) != std::string::npos;
}

class ControlFlow : public ::testing::TestWithParam<const char*> {};

TEST_P(ControlFlow, ProtectionIsClaimed) {
  EXPECT_TRUE(Contains(Readelf(GetParam()), "x86 feature: IBT, SHSTK"));
}

// The loader calls what it is given here through a pointer, and the C library's start files may
// have no landing pads.
TEST_P(ControlFlow, NothingOfTheStartFilesIsCalled) {
  const std::string text = Readelf(GetParam());
  ASSERT_TRUE(Contains(text, "(SYMTAB)"));
  EXPECT_FALSE(Contains(text, "(INIT)"));
  EXPECT_FALSE(Contains(text, "(FINI)"));
}

INSTANTIATE_TEST_SUITE_P(Library, ControlFlow, ::testing::Values(ZTK_SHARED_OBJECTS));

}  // namespace
