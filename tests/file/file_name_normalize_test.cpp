#include <gtest/gtest.h>

#include <string>

#include "tests/file/file_name_support.h"
#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"

namespace {

TEST(ZTKFileNameNormalize, DotsAreDroppedAndNeverClimb) {
  const struct {
    const char* path;
    bool result;
    const char* parts;
  } rows[] = {
      {"a/./b/n", true, "<> <a|b> <n> <> abs"},
      {"a/../b/n", true, "<> <a|b> <n> <> abs"},
      {"a/b/../../../n", true, "<> <a|b> <n> <> abs"},
      {"./n", true, "<> <> <n> <> abs"},
      {"../x", false, "<> <> <x> <> rel"},
      {"./../x", false, "<> <> <x> <> rel"},
      {"/../x", false, "<> <> <x> <> abs"},
      {"../../x", false, "<> <> <x> <> rel"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ZTKFileName name(row.path, ZTKPathUnix);
    EXPECT_EQ(name.XPNormalize(ZTKNormDots, "", ZTKPathUnix), row.result);
    EXPECT_EQ(PartsOf(name), row.parts);
  }
}

TEST(ZTKFileNameNormalize, TheEdgesOfTheDescriptionHold) {
  ZTKFileName name;
  name.AssignDir("a/./b", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormDots, "", ZTKPathUnix));
  EXPECT_EQ(DirsOf(name), "a|b");
  name.AssignDir("a/../b", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormDots, "", ZTKPathUnix));
  EXPECT_EQ(DirsOf(name), "a|b");
}

// A failed step leaves the later ones undone: the case stays, and so does the relative mark.
TEST(ZTKFileNameNormalize, AStepUpWithNothingBeforeItStopsTheOperation) {
  ZTKFileName name("..\\Dir\\Name.EXT", ZTKPathDos);
  EXPECT_FALSE(name.XPNormalize(ZTKNormDots | ZTKNormCase | ZTKNormLongPath, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(name), "<> <> <Name> <EXT> rel");
}

TEST(ZTKFileNameNormalize, NoFlagsOnlyEndTheRelativeState) {
  ZTKFileName name("a/../B/./n.E", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(0, "", ZTKPathUnix));
  EXPECT_EQ(PartsOf(name), "<> <a|..|B|.> <n> <E> abs");
}

TEST(ZTKFileNameNormalize, CaseIsLoweredWhereItMeansNothing) {
  ZTKFileName dos("C:\\DIR\\Name.EXT", ZTKPathDos);
  EXPECT_TRUE(dos.XPNormalize(ZTKNormCase, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(dos), "<c> <dir> <name> <ext> abs");

  ZTKFileName mac("Disk:DIR:Name", ZTKPathMac);
  EXPECT_TRUE(mac.XPNormalize(ZTKNormCase, "", ZTKPathMac));
  EXPECT_EQ(PartsOf(mac), "<> <disk|dir> <name> <> abs");

  ZTKFileName posix("/DIR/Name.EXT", ZTKPathUnix);
  EXPECT_TRUE(posix.XPNormalize(ZTKNormCase, "", ZTKPathUnix));
  EXPECT_EQ(PartsOf(posix), "<> <DIR> <Name> <EXT> abs");
}

// Most layers know no other form of a path; what is left is what reading "" leaves.
TEST(ZTKFileNameNormalize, LongPathConcernsDosNamesAloneAndComesLast) {
  ZTKFileName name("C:\\a\\n.e", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormLongPath, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(name), HasDosPaths() ? "<C> <a> <n> <e> abs" : "<> <> <> <> rel");

  for (const ZTKPathFormat format : {ZTKPathUnix, ZTKPathMac, ZTKPathVms}) {
    SCOPED_TRACE(format);
    ZTKFileName other("n.e", format);
    EXPECT_TRUE(other.XPNormalize(ZTKNormLongPath, "", format));
    EXPECT_EQ(PartsOf(other), "<> <> <n> <e> abs");
  }
}

TEST(ZTKFileNameNormalize, ARootedDosPathWithoutVolumeIsNotAbsolute) {
  ZTKFileName name("\\a\\n", ZTKPathDos);
  EXPECT_FALSE(name.IsAbsolute(ZTKPathDos));
}

TEST(ZTKFileNameNormalize, TildeIsReadOnlyInUnixPaths) {
  ZTKFileName name("~\\a\\n", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathDos));
  EXPECT_EQ(DirsOf(name), "~|a");
}

TEST(ZTKFileNameNormalize, TildeIsReadOnlyInTheFirstComponent) {
  ZTKFileName name("/a/~/n", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathUnix));
  EXPECT_EQ(DirsOf(name), "a|~");
}

TEST(ZTKFileNameNormalize, AnEmptyNameStaysEmpty) {
  ZTKFileName name;
  EXPECT_TRUE(
      name.XPNormalize(ZTKNormEnvVars | ZTKNormDots | ZTKNormTilde | ZTKNormCase, "", ZTKPathUnix));
  EXPECT_EQ(PartsOf(name), "<> <> <> <> abs");
}

}  // namespace
