#include "ztk/file/file_watch.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>

#include "tests/support/failing_allocator.h"
#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

static_assert(!std::is_copy_constructible_v<ZTKFileWatch>);

bool IsReadable(const ZTKFileWatch& watch) {
  pollfd watched = {watch.GetFd(), POLLIN, 0};
  return poll(&watched, 1, 0) == 1;
}

ZTKString Native(const std::string& path) { return ZTKString(NativePath(path)); }

/// A watch on a file, past its first look.
class Watched : public ZTKFileWatch {
 public:
  explicit Watched(const std::string& path) : ZTKFileWatch(Native(path)) {
    EXPECT_GE(GetFd(), 0);
    EXPECT_FALSE(Dispatch());
  }
};

TEST(ZTKFileWatch, EveryWayOfChangingAFileIsTold) {
  const TempDir dir;
  const std::string path = dir / "x";
  const struct {
    const char* what;
    void (*change)(const std::string& path);
  } rows[] = {
      {"written in place", [](const std::string& p) { WriteWholeFile(p, "longer than before"); }},
      {"appended to", [](const std::string& p) { std::ofstream(p, std::ios::app) << "more"; }},
      {"replaced",
       [](const std::string& p) {
         WriteWholeFile(p + "~", "old");
         fs::rename(p + "~", p);
       }},
      {"removed and made again",
       [](const std::string& p) {
         WriteWholeFile(p + "~", "old");
         fs::remove(p);
         fs::rename(p + "~", p);
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    WriteWholeFile(path, "old");
    Watched watch(path);
    for (int i = 0; i < 2; ++i) {
      row.change(path);
      if (i == 1 && std::string(row.what) == "written in place") WriteWholeFile(path, "shorter");
      EXPECT_TRUE(IsReadable(watch));
      EXPECT_TRUE(watch.Dispatch());
      EXPECT_FALSE(IsReadable(watch));
      EXPECT_FALSE(watch.Dispatch());
    }
  }
}

TEST(ZTKFileWatch, OtherFilesOfTheFolderAreNoNews) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  Watched watch(dir / "x");
  WriteWholeFile(dir / "y", "new");
  WriteWholeFile(dir / "xx", "new");
  fs::create_directory(dir / "z");
  EXPECT_FALSE(watch.Dispatch());
  EXPECT_FALSE(IsReadable(watch)) << "what happened was taken in";
}

TEST(ZTKFileWatch, AFileThatIsNotThereYetIsToldWhenItComes) {
  const TempDir dir;
  Watched watch(dir / "x");
  WriteWholeFile(dir / "x", "new");
  EXPECT_TRUE(watch.Dispatch());
}

TEST(ZTKFileWatch, AFileThatGoesIsToldWhenItIsBackAsAnother) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  Watched watch(dir / "x");
  fs::rename(dir / "x", dir / "y");
  EXPECT_FALSE(watch.Dispatch());
  fs::rename(dir / "y", dir / "x");
  EXPECT_FALSE(watch.Dispatch()) << "the same as before";
  WriteWholeFile(dir / "z", "another");
  fs::rename(dir / "z", dir / "x");
  EXPECT_TRUE(watch.Dispatch());
}

TEST(ZTKFileWatch, ALinkIsWatchedAtBothEnds) {
  const TempDir dir;
  fs::create_directory(dir / "real");
  fs::create_directory(dir / "other");
  WriteWholeFile(dir / "real/x", "old");
  WriteWholeFile(dir / "other/y", "other");
  fs::create_symlink("real/x", dir / "link");
  Watched watch(dir / "link");
  WriteWholeFile(dir / "real/x", "longer than before");
  EXPECT_TRUE(watch.Dispatch());

  fs::create_symlink("other/y", dir / "new-link");
  fs::rename(dir / "new-link", dir / "link");
  EXPECT_TRUE(watch.Dispatch());
  WriteWholeFile(dir / "other/y", "other and longer");
  EXPECT_TRUE(watch.Dispatch()) << "where it leads to by now";
}

TEST(ZTKFileWatch, WhatIsAcceptedIsKnown) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  Watched watch(dir / "x");
  WriteWholeFile(dir / "x", "my own writing");
  watch.Accept();
  EXPECT_FALSE(watch.Dispatch());
  WriteWholeFile(dir / "x", "somebody else's writing");
  EXPECT_TRUE(watch.Dispatch());
}

TEST(ZTKFileWatch, AFolderThatIsNotThereIsNotWatchedButLookedAt) {
  const TempDir dir;
  ZTKFileWatch watch(Native(dir / "missing/x"));
  EXPECT_FALSE(watch.Dispatch());
  EXPECT_FALSE(IsReadable(watch));
}

TEST(ZTKFileWatch, ManyChangesAreToldAsOne) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "");
  Watched watch(dir / "x");
  for (int i = 0; i < 1000; ++i) std::ofstream(dir / "x", std::ios::app) << i;
  EXPECT_TRUE(watch.Dispatch());
  EXPECT_FALSE(watch.Dispatch());
}

TEST(ZTKFileWatch, ThereIsOneThingToWaitForOnEveryPlatform) {
  TempDir dir;
  const Watched watch(dir / "file");
  EXPECT_EQ(watch.GetWaitHandle(), watch.GetFd());
}

TEST(ZTKFileWatch, WithoutMemoryItTellsNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const TempDir dir;
  const ZTKString path = Native(dir / "x");
  bool failed = true;
  for (long nBefore = 0; failed; ++nBefore) {
    ASSERT_LT(nBefore, 1000);
    const failing_allocator::Scope scope(nBefore, 1);
    ZTKFileWatch watch(path);
    EXPECT_FALSE(watch.Dispatch());
    watch.Accept();
    failed = scope.Failed();
  }
}

}  // namespace
