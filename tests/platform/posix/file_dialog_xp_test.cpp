#include "ztk/system/file_dialog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/system/scripted_dialog.h"

TEST(ZTKFileDLGPosix, SplitFullPathTakesAPathApart) {
  struct {
    const char* path;
    const char* directory;
    const char* name;
  } const rows[] = {
      {"/a/b/c.d", "/a/b", "c.d"},
      {"/a/b/c", "/a/b", "c"},
      {"/c.d", "/", "c.d"},
      {"c.d", "", "c.d"},
      {"", "", ""},
      {"/a.b/c", "/a.b", "c"},
      {"/a/b/", "/a/b", ""},
      {"/a/c.", "/a", "c"},
      {".profile", "", ".profile"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ZTKFileDLG dialog = Dialog(FD_OPEN, "", "", "dir", "name");
    dialog.SplitFullPath(row.path);
    EXPECT_EQ(dialog.GetDirectory().view(), row.directory);
    EXPECT_EQ(dialog.GetFilename().view(), row.name);
    EXPECT_EQ(dialog.GetPath().view(), "");
  }
}

TEST(ZTKFileDLGPosix, StaysWhereItIsForAnEmptyOrVanishedDirectory) {
  TempDir temp;
  const ScopedWorkingDirectory here(temp.Path());
  for (const std::string& path : {std::string("name.only"), temp / "gone/a.txt"}) {
    SCOPED_TRACE(path);
    ScriptedBackend backend;
    backend.script = Choose(path);
    ZTKFileDLG dialog = Dialog(FD_OPEN | FD_CHANGE_DIR);
    EXPECT_EQ(dialog.ShowModal(), DLG_OK);
    EXPECT_EQ(dialog.GetPath().view(), path);
    EXPECT_EQ(std::filesystem::current_path(), temp.Path());
  }
}

TEST(ZTKFileDLGPosix, GivesToolkitsThePatternsThatMatchSomething) {
  ScriptedBackend backend;
  std::vector<std::string> patterns;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    patterns.assign(request.ppszPatterns, request.ppszPatterns + request.nFilterCount);
    EXPECT_EQ(request.ppszPatterns[request.nFilterCount], nullptr);
    return 0;
  };
  ZTKFileDLG dialog =
      Dialog(FD_OPEN, "Pictures|*.png;*.jpg|All|*.*|Any|*|Odd|;.txt;md;;notes.*|None|;;|");
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  // "*" alone leaves an empty extension, which matches nothing.
  EXPECT_EQ(patterns,
            (std::vector<std::string>{"*.PNG;*.JPG", "*", "", "*.TXT;*.MD;*.NOTES.*", ""}));
}
