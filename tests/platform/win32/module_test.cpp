#include "ztk/system/module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using testing::HasSubstr;
using testing::Not;

int Calls(const ZTKModule& module) {
  void* const address = module.GetSymbol("TestCalls");
  if (address == nullptr) return -1;
  int (*function)() = nullptr;
  std::memcpy(&function, &address, sizeof function);
  return function();
}

std::string ErrorsOfLoading(const char* pszName) {
  testing::internal::CaptureStderr();
  ZTKModule module(pszName, "", "");
  EXPECT_FALSE(module.IsLoaded());
  return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(ZTKModuleWin32, IsFoundByEachOfItsNames) {
  for (const char* const name :
       {"ztk_plain_module", "ztk_suffix_module", "ztk_suffix_module.dll", "ztk_prefix_module",
        "libztk_prefix_module", "libztk_prefix_module.dll", "plugins/ztk_nested_module"}) {
    SCOPED_TRACE(name);
    ZTKModule module;
    module.SetInitCleanupName("TestInit", "TestCleanup");
    EXPECT_TRUE(module.Load(name));
    EXPECT_TRUE(module.IsLoaded());
    EXPECT_EQ(Calls(module), 1);
    EXPECT_EQ(module.GetSymbol("TestNothing"), nullptr);
    module.Unload();
    EXPECT_EQ(module.GetSymbol("TestCalls"), nullptr);
  }
}

TEST(ZTKModuleWin32, TheFileOfThatNameGoesBeforeTheOneWithItsSuffix) {
  // Beside the library there is a text by the same name, without the suffix.
  EXPECT_THAT(ErrorsOfLoading("ztk_text_module"), HasSubstr("ztk_text_module"));
  ZTKModule module;
  module.Load("ztk_plain_module");
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(static_cast<HMODULE>(module.GetLibHandle()), path, MAX_PATH);
  EXPECT_EQ(std::wstring(path).find(L".dll"), std::wstring::npos);
}

TEST(ZTKModuleWin32, ASystemLibraryIsNoModule) {
  EXPECT_THAT(ErrorsOfLoading("version"), HasSubstr("Load Shared Library version Error!!\n"));
  EXPECT_THAT(ErrorsOfLoading("version.dll"), HasSubstr("version.dll Error!!"));
}

TEST(ZTKModuleWin32, SaysWhyInOneLine) {
  const std::string missing = ErrorsOfLoading("ztk_no_such_module");
  EXPECT_THAT(missing, HasSubstr("Load Shared Library ztk_no_such_module Error!!\n"));
  EXPECT_THAT(missing, Not(HasSubstr("depends")));
  EXPECT_EQ(std::count(missing.begin(), missing.end(), '\n'), 2);

  EXPECT_THAT(ErrorsOfLoading(""), HasSubstr("the name is empty\n"));
  EXPECT_THAT(ErrorsOfLoading("\xFF"), HasSubstr("the name is not in UTF-8\n"));
}

TEST(ZTKModuleWin32, SaysThatALibraryItDependsOnIsMissing) {
  const std::string errors = ErrorsOfLoading("ztk_needing_module");
  EXPECT_THAT(errors, HasSubstr("ztk_needing_module.dll"));
  EXPECT_THAT(errors, HasSubstr("a library that it depends on is missing"));
}

TEST(ZTKModuleWin32, NamesWithoutALibraryFindNothing) {
  const ZTKModule module;
  EXPECT_EQ(module.GetSymbol("TestCalls"), nullptr);
}
