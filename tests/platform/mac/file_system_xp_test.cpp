#include "ztk/file/file_system.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/faults.h"
#include "ztk/platform/mac/services/volumes.h"

using namespace ztk_mac_services;

namespace {

std::string Converted(const char* pszPath) { return XPMacPathToCompName(pszPath).c_str(); }

}  // namespace

TEST(XPMacPathToCompName, GivesSlashPathsBack) {
  EXPECT_EQ(Converted(nullptr), "");
  EXPECT_EQ(Converted(""), "");
  EXPECT_EQ(Converted("rel/name"), "rel/name");
  EXPECT_EQ(Converted("/abs/name"), "/abs/name");
  EXPECT_EQ(Converted("/abs:na:me"), "/abs:na:me");
}

TEST(XPMacPathToCompName, PutsTheMountPointInPlaceOfTheVolume) {
  EXPECT_EQ(Converted("System:a:b"), "/a/b");
  EXPECT_EQ(Converted("System:"), "/");
  EXPECT_EQ(Converted("System::a"), "//a");
}

TEST(XPMacPathToCompName, LeavesTheRestOfAnUnknownVolume) {
  EXPECT_EQ(Converted("Nowhere:a:b"), "a/b");
  EXPECT_EQ(Converted(":a:b"), "a/b");
}

TEST(ZTKPathExists, TakesColonPaths) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  const ScopedWorkingDirectory inside(dir.Path());
  EXPECT_TRUE(ZTKPathExists("System:tmp"));
  EXPECT_TRUE(ZTKPathExists("System:tmp:"));
  EXPECT_FALSE(ZTKPathExists("System:tmp:nothing here"));
  EXPECT_TRUE(ZTKPathExists("file"));
  EXPECT_TRUE(ZTKPathExists(":file"));
  EXPECT_FALSE(ZTKPathExists((dir / "file").c_str()));
}
