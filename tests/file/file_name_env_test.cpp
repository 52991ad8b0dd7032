#include <gtest/gtest.h>

#include <string>

#include "tests/file/file_name_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"

namespace {

TEST(ZTKFileNameEnv, VariablesAreReplacedAndEverythingElseStays) {
  const ScopedEnv home("ZTK_HOME", "/h");
  const ScopedEnv empty("ZTK_EMPTY", "");
  const ScopedEnv nested("ZTK_NESTED", "$ZTK_HOME");
  const ScopedEnv unset("ZTK_UNSET", nullptr);
  const struct {
    const char* text;
    const char* expected;
  } rows[] = {
      {"", ""},
      {"plain/text.x", "plain/text.x"},
      {"$ZTK_HOME/x", "/h/x"},
      {"${ZTK_HOME}x", "/hx"},
      {"$(ZTK_HOME)x", "/hx"},
      {"a$ZTK_HOME", "a/h"},
      {"$ZTK_HOME$ZTK_HOME", "/h/h"},
      {"$ZTK_HOMEx", "$ZTK_HOMEx"},
      {"$ZTK_HOME-x", "/h-x"},
      {"[$ZTK_EMPTY]", "[]"},
      {"[${ZTK_EMPTY}]", "[]"},
      {"$ZTK_NESTED", "$ZTK_HOME"},  // A value is not expanded again.
      {"$ZTK_UNSET/y", "$ZTK_UNSET/y"},
      {"${ZTK_UNSET}y", "${ZTK_UNSET}y"},
      {"$(ZTK_UNSET)y", "$(ZTK_UNSET)y"},
      {"${ZTK_UNSET", "${ZTK_UNSET"},
      {"${ZTK_HOME", "/h"},  // A missing closing bracket is no error.
      {"${ZTK_HOME)", "/h)"},
      {"$(ZTK_HOME}", "/h}"},
      {"${ZTK_UNSET)", "${ZTK_UNSET)"},
      {"${ZTK_HOME/x}", "/h/x}"},
      {"$", "$"},
      {"a$", "a$"},
      {"$$ZTK_HOME", "$/h"},
      {"$/", "$/"},
      {"${}", "${}"},
      {"$()", "$()"},
      {"${", "${"},
      {"$(", "$("},
      {"$(}", "$(}"},
      {"${$ZTK_HOME}", "${/h}"},
      {"\\$ZTK_HOME", "$ZTK_HOME"},
      {"\\%ZTK_HOME%", "%ZTK_HOME%"},
      {"%ZTK_HOME%", "%ZTK_HOME%"},
      {"\\", "\\"},
      {"a\\b", "a\\b"},
      {"a\\", "a\\"},
      {"\\\\$ZTK_HOME", "\\$ZTK_HOME"},
      {"\\\\", "\\\\"},
      {"\xC3\xA9$ZTK_HOME\xC3\xA9", "\xC3\xA9/h\xC3\xA9"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Text(ZTKFileName::ExpandEnvVars(row.text)), row.expected);
  }
}

TEST(ZTKFileNameEnv, LongTextsAndValuesAreKeptWhole) {
  const std::string value(3000, 'v');
  const ScopedEnv longOne("ZTK_LONG", value.c_str());
  const std::string text(700, 'a');
  const ZTKString expanded =
      ZTKFileName::ExpandEnvVars((text + "$ZTK_LONG/" + text + "$ZTK_LONG").c_str());
  EXPECT_EQ(Text(expanded), text + value + "/" + text + value);
}

}  // namespace
