// Streams and commits whose calls of the system fail.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/support/faulty_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

TEST(Win32StreamFault, WhatCouldNotBeWrittenIsTriedAgain) {
  const Strict lax(false);
  TempDir dir;
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  ASSERT_EQ(file.Write("text", 4), 4u);
  {
    faulty_calls::Scope scope;
    scope.FailAt("WriteFile", ERROR_DISK_FULL);
    EXPECT_FALSE(file.Flush());
  }
  EXPECT_TRUE(file.HasLostData()) << "for those who promise something";
  EXPECT_EQ(file.Tell(), 4);
  EXPECT_EQ(file.Write("more", 4), 4u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "textmore");
}

TEST(Win32StreamFault, ReadingDoesNotDropWhatCouldNotBeWritten) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read_write);
  ASSERT_EQ(file.Write("abc", 3), 3u);
  char byte = 0;
  {
    faulty_calls::Scope scope;
    scope.FailAt("WriteFile", ERROR_DISK_FULL);
    EXPECT_EQ(file.Read(&byte, 1), 0u);
  }
  EXPECT_EQ(file.Read(&byte, 1), 1u);
  EXPECT_EQ(byte, '3');
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "abc3456789");
}

// A seek that has moved the file but does not know where to would be taken for one that has not.
TEST(Win32StreamFault, ASeekEitherMovesOrFails) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  for (long n = 0; n < 2; ++n) {
    ZTKFile file((dir / "file").c_str(), ZTKFile::read);
    char byte = 0;
    ASSERT_EQ(file.Read(&byte, 1), 1u);
    std::int64_t position = 0;
    {
      faulty_calls::Scope scope;
      scope.FailAt(n, ERROR_NOT_READY);
      position = file.Seek64(5, ZTKFromStart);
    }
    EXPECT_EQ(file.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, position == 5 ? '5' : '1') << n;
    EXPECT_EQ(file.Tell64(), position == 5 ? 6 : 2);
  }
}

TEST(Win32StreamFault, ACloseThatCannotWriteSaysSo) {
  for (const bool isStrict : {false, true}) {
    const Strict mode(isStrict);
    TempDir dir;
    ZTKFile file((dir / "file").c_str(), ZTKFile::write);
    ASSERT_EQ(file.Write("text", 4), 4u);
    faulty_calls::Scope scope;
    scope.FailFrom(0, ERROR_WRITE_FAULT);
    EXPECT_FALSE(file.Close());
  }
}

TEST(Win32StreamFault, AHandleThatTellsNothingIsNoStream) {
  TempDir dir;
  WriteWholeFile(dir / "file", "text");
  faulty_calls::Scope scope;
  scope.FailAt("GetFileType", ERROR_NOT_READY);
  EXPECT_FALSE(ZTKFile((dir / "file").c_str(), ZTKFile::write).IsOpen());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
}

TEST(Win32StreamFault, AFileSystemWithoutSyncFailsNoStrictCommit) {
  const Strict mode;
  for (const int error : {ERROR_INVALID_FUNCTION, ERROR_NOT_SUPPORTED}) {
    for (const bool closesFirst : {false, true}) {
      TempDir dir;
      ZTKTempFile file((dir / "file").c_str());
      ASSERT_EQ(file.GetFile().Write("text", 4), 4u);
      if (closesFirst) {
        EXPECT_TRUE(file.GetFile().Close());
      }
      faulty_calls::Scope scope;
      scope.FailAt("FlushFileBuffers", error);
      EXPECT_TRUE(file.Commit());
      EXPECT_EQ(scope.Failed(), "FlushFileBuffers");
    }
  }
}

// What a scanner is in the way of is tried again, a few times, and what does not pass is not.
TEST(Win32StreamFault, RenamingAndRemovingAreTriedSixTimesWhereThatMayHelp) {
  for (const int error : faulty_calls::kErrors) {
    SCOPED_TRACE(error);
    TempDir dir;
    WriteWholeFile(dir / "old", "text");
    const bool mayPass = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
    // How often the file was opened for a call that fails, behind the question what is there.
    const auto tries = [=](auto call) {
      faulty_calls::Scope scope;
      scope.FailFrom(1, error);
      EXPECT_FALSE(call());
      return std::count(scope.Calls().begin(), scope.Calls().end(), "CreateFileW");
    };
    EXPECT_EQ(tries([&] { return ZTKRemoveFile((dir / "old").c_str()); }), mayPass ? 6 : 1);
    EXPECT_EQ(tries([&] { return ZTKRenameFile((dir / "old").c_str(), (dir / "new").c_str()); }),
              mayPass ? 6 : 1);
    EXPECT_EQ(ReadWholeFile(dir / "old"), "text");
  }
}

}  // namespace
