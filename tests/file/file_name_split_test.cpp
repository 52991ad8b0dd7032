#include <gtest/gtest.h>

#include <string>

#include "tests/file/file_name_support.h"
#include "ztk/file/file_name.h"

namespace {

TEST(ZTKFileNameSplit, SplitVolumeCutsDriveServerAndDisk) {
  const struct {
    ZTKPathFormat format;
    const char* fullPath;
    const char* volume;
    const char* path;
  } rows[] = {
      {ZTKPathUnix, "C:\\a", "", "C:\\a"},
      {ZTKPathMac, "Disk:a", "", "Disk:a"},
      {ZTKPathDos, "", "", ""},
      {ZTKPathDos, "a\\b", "", "a\\b"},
      {ZTKPathDos, "C:\\a", "C", "\\a"},
      {ZTKPathDos, "C:", "C", ""},
      {ZTKPathDos, ":a", "", "a"},
      {ZTKPathDos, "dir/a:b", "dir/a", "b"},
      {ZTKPathDos, "a:b:c", "a", "b:c"},
      // A server ends at the two characters "\/" and nowhere else.
      {ZTKPathDos, "\\\\srv\\/x", "srv", "\\/x"},
      {ZTKPathDos, "\\\\srv\\share", "", "srv\\share"},
      {ZTKPathDos, "\\\\srv/share", "", "srv/share"},
      {ZTKPathDos, "\\\\s:v\\/x", "s", "v:\\/x"},
      {ZTKPathDos, "\\\\\\/x", "", "\\/x"},
      {ZTKPathDos, "\\\\a", "", "\\\\a"},  // Three characters are too few for a server.
      {ZTKPathDos, "\\\\ab", "", "ab"},
      {ZTKPathVms, "DISK:[A]B", "DISK", "[A]B"},
      {ZTKPathVms, "\\\\srv\\/x", "", "\\\\srv\\/x"},
  };
  for (const auto& row : rows) {
    if (row.format == ZTKPathDos && IsDosNative()) continue;
    SCOPED_TRACE(std::string(row.fullPath) + " in syntax " + std::to_string(row.format));
    ZTKString volume;
    ZTKString path;
    ZTKFileName::SplitVolume(row.fullPath, &volume, &path, row.format);
    EXPECT_EQ(Text(volume), row.volume);
    EXPECT_EQ(Text(path), row.path);
  }
}

struct SplitRow {
  ZTKPathFormat format;
  const char* fullPath;
  const char* volume;
  const char* path;
  const char* name;
  const char* ext;
};

// Rows that read the same whatever the native syntax is.
const SplitRow kSplitRows[] = {
    {ZTKPathUnix, "", "", "", "", ""},
    {ZTKPathUnix, "name", "", "", "name", ""},
    {ZTKPathUnix, "name.ext", "", "", "name", "ext"},
    {ZTKPathUnix, ".profile", "", "", ".profile", ""},
    {ZTKPathUnix, "a.b/c", "", "a.b", "c", ""},
    {ZTKPathUnix, "a.b/c.d", "", "a.b", "c", "d"},
    {ZTKPathUnix, "a.", "", "", "a", ""},
    {ZTKPathUnix, ".", "", "", ".", ""},
    {ZTKPathUnix, "..", "", "", ".", ""},
    {ZTKPathUnix, "...", "", "", "..", ""},
    {ZTKPathUnix, "x.tar.gz", "", "", "x.tar", "gz"},
    {ZTKPathUnix, "/file", "", "/", "file", ""},
    {ZTKPathUnix, "//file", "", "/", "file", ""},
    {ZTKPathUnix, "/a/b/", "", "/a/b", "", ""},
    {ZTKPathUnix, "/", "", "/", "", ""},
    {ZTKPathMac, ":a:b", "", ":a", "b", ""},
    {ZTKPathMac, ":file", "", "", "file", ""},
    {ZTKPathMac, "D:f.e", "", "D", "f", "e"},
    {ZTKPathDos, "C:\\d\\f.t", "C", "\\d", "f", "t"},
    {ZTKPathDos, "C:\\f", "C", "\\", "f", ""},
    {ZTKPathDos, "a\\b/c", "", "a\\b", "c", ""},
    {ZTKPathDos, "a/b\\c", "", "a/b", "c", ""},
    {ZTKPathDos, "C:f.t", "C", "", "f", "t"},
    {ZTKPathVms, "D:[A.B]N.E", "D", "A.B", "N", "E"},
    {ZTKPathVms, "[A]", "", "A", "", ""},
    {ZTKPathVms, "[]N", "", "", "N", ""},
    {ZTKPathVms, "]N", "", "]", "N", ""},
    {ZTKPathVms, "[A.B]", "", "A.B", "", ""},
    {ZTKPathVms, "[A].P", "", "A", ".P", ""},
    {ZTKPathVms, "[A.B", "", "", "[A", "B"},
};

TEST(ZTKFileNameSplit, SixPartFormGivesEveryPart) {
  for (const SplitRow& row : kSplitRows) {
    SCOPED_TRACE(std::string(row.fullPath) + " in syntax " + std::to_string(row.format));
    ZTKString volume = "old";
    ZTKString path = "old";
    ZTKString name = "old";
    ZTKString ext = "old";
    ZTKFileName::SplitPath(row.fullPath, &volume, &path, &name, &ext, row.format);
    EXPECT_EQ(Text(volume), row.volume);
    EXPECT_EQ(Text(path), row.path);
    EXPECT_EQ(Text(name), row.name);
    EXPECT_EQ(Text(ext), row.ext);
  }
}

TEST(ZTKFileNameSplit, FivePartFormPutsTheVolumeInFrontOfThePath) {
  for (const SplitRow& row : kSplitRows) {
    SCOPED_TRACE(std::string(row.fullPath) + " in syntax " + std::to_string(row.format));
    ZTKString path = "old";
    ZTKString name;
    ZTKString ext;
    ZTKFileName::SplitPath(row.fullPath, &path, &name, &ext, row.format);
    EXPECT_EQ(Text(path), Text(ZTKFileName::ZTKGetVolumeString(row.volume, row.format)) + row.path);
    EXPECT_EQ(Text(name), row.name);
    EXPECT_EQ(Text(ext), row.ext);
  }
  ZTKString path;
  ZTKFileName::SplitPath("\\\\srv\\/d\\f", &path, nullptr, nullptr, ZTKPathDos);
  EXPECT_EQ(Text(path), "\\\\srv\\/d");
}

TEST(ZTKFileNameSplit, EveryOutputMayBeNull) {
  ZTKFileName::SplitVolume("C:\\a", nullptr, nullptr, ZTKPathDos);
  ZTKFileName::SplitPath("C:\\a.b", nullptr, nullptr, nullptr, nullptr, ZTKPathDos);
  ZTKFileName::SplitPath("C:\\a.b", nullptr, nullptr, nullptr, ZTKPathDos);
  ZTKString one;
  ZTKFileName::SplitPath("C:\\a.b", nullptr, nullptr, nullptr, &one, ZTKPathDos);
  EXPECT_EQ(Text(one), "b");
  ZTKFileName::SplitPath("C:\\a.b", nullptr, nullptr, &one, nullptr, ZTKPathDos);
  EXPECT_EQ(Text(one), "a");
  ZTKFileName::SplitPath("C:\\a.b", nullptr, &one, nullptr, nullptr, ZTKPathDos);
  EXPECT_EQ(Text(one), "\\");
  ZTKFileName::SplitPath("C:\\a.b", &one, nullptr, nullptr, nullptr, ZTKPathDos);
  EXPECT_EQ(Text(one), "C");
}

TEST(ZTKFileNameSplit, AnOutputMayBeTheInput) {
  for (const std::string& folder : {std::string("\\d"), "\\" + std::string(400, 'd')}) {
    const std::string full = "C:" + folder + "\\f.t";
    ZTKString text = full.c_str();
    ZTKString path;
    ZTKString ext;
    ZTKFileName::SplitPath(text, &text, &path, nullptr, &ext, ZTKPathDos);
    EXPECT_EQ(Text(text), "C");
    EXPECT_EQ(Text(path), folder);
    EXPECT_EQ(Text(ext), "t");

    text = full.c_str();
    ZTKFileName::SplitPath(text, &text, nullptr, &ext, ZTKPathDos);
    EXPECT_EQ(Text(text), "C:" + folder);

    text = full.c_str();
    ZTKFileName::SplitVolume(text, nullptr, &text, ZTKPathDos);
    EXPECT_EQ(Text(text), folder + "\\f.t");
  }
}

}  // namespace
