// The watch over ReadDirectoryChangesW, waited for as a program waits for any event.

#include "ztk/file/file_watch.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <iterator>
#include <string>
#include <thread>

#include "tests/support/imports_win32.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"

namespace {

bool IsSignalled(const ZTKFileWatch& watch, DWORD timeoutMs = 0) {
  return WaitForSingleObject(reinterpret_cast<HANDLE>(watch.GetWaitHandle()), timeoutMs) ==
         WAIT_OBJECT_0;
}

// Whether a change is told; the time-out only ends a test that has failed.
bool IsTold(ZTKFileWatch& watch) {
  while (IsSignalled(watch, 10000)) {
    if (watch.Dispatch()) return true;
  }
  return false;
}

// A system that takes its time to end what it was told to: the calls of the library in its place.
BOOL(WINAPI* s_cancel)(HANDLE, LPOVERLAPPED);
BOOL(WINAPI* s_close)(HANDLE);
std::atomic<HANDLE> s_cancelled = nullptr;
LPOVERLAPPED s_reading = nullptr;
std::thread s_system;
bool s_wasDone = false;

BOOL WINAPI CancelLater(HANDLE handle, LPOVERLAPPED reading) {
  s_reading = reading;
  s_cancelled = handle;
  s_system = std::thread([=] {
    Sleep(100);
    s_cancel(handle, reading);
  });
  return TRUE;
}

BOOL WINAPI CloseAndLook(HANDLE handle) {
  if (handle == s_cancelled) s_wasDone = HasOverlappedIoCompleted(s_reading);
  return s_close(handle);
}

TEST(Win32Watch, ThereIsAnEventAndNoDescriptor) {
  TempDir dir;
  ZTKFileWatch watch((dir / "file").c_str());
  EXPECT_EQ(watch.GetFd(), -1);
  EXPECT_NE(watch.GetWaitHandle(), -1);
  EXPECT_FALSE(IsSignalled(watch));
  EXPECT_FALSE(watch.Dispatch());
}

TEST(Win32Watch, EveryWayOfChangingAFileIsTold) {
  TempDir dir;
  const std::string path = dir / "file";
  WriteWholeFile(path, "old");
  ZTKFileWatch watch(path.c_str());
  WriteWholeFile(path, "longer");
  EXPECT_TRUE(IsTold(watch));
  WriteWholeFile(dir / "new", "another file");
  ASSERT_TRUE(ZTKRenameFile((dir / "new").c_str(), path.c_str()));
  EXPECT_TRUE(IsTold(watch));
  ASSERT_TRUE(ZTKRemoveFile(path.c_str()));
  WriteWholeFile(path, "yet another file");
  EXPECT_TRUE(IsTold(watch));
}

TEST(Win32Watch, TenThousandChangesAreToldToTheLast) {
  TempDir dir;
  const std::string path = dir / "file";
  WriteWholeFile(path, "");
  ZTKFileWatch watch(path.c_str());
  for (int n = 0; n < 10000; ++n) WriteWholeFile(dir / ("other" + std::to_string(n % 10)), "x");
  WriteWholeFile(path, "changed");
  EXPECT_TRUE(IsTold(watch));
  WriteWholeFile(path, "changed again");
  EXPECT_TRUE(IsTold(watch));
}

TEST(Win32Watch, AFolderThatGoesIsToldAndEndsIt) {
  TempDir dir;
  ASSERT_TRUE(ZTKMkdir((dir / "sub").c_str(), 0777));
  const std::string path = dir / "sub\\file";
  WriteWholeFile(path, "old");
  ZTKFileWatch watch(path.c_str());
  ASSERT_TRUE(ZTKRemoveFile(path.c_str()));
  ZTKRmdir((dir / "sub").c_str());
  EXPECT_TRUE(IsSignalled(watch, 10000));
  for (int n = 0; n < 100 && IsSignalled(watch); ++n) EXPECT_FALSE(watch.Dispatch());
  EXPECT_FALSE(IsSignalled(watch));  // It does not stay signalled for good.
}

TEST(Win32Watch, IsEndedAtAnyTime) {
  TempDir dir;
  for (int n = 0; n < 50; ++n) {
    ZTKFileWatch watch((dir / "file").c_str());
    WriteWholeFile(dir / "file", std::string(static_cast<size_t>(n), 'x'));
  }
}

// What is read into is part of the watch.
TEST(Win32Watch, EndsWhenTheSystemHasEndedReading) {
  TempDir dir;
  {
    const ZTKFileWatch watch((dir / "file").c_str());
    const imports::Replacement replacements[] = {
        imports::Replace("CancelIoEx", &CancelLater, &s_cancel),
        imports::Replace("CloseHandle", &CloseAndLook, &s_close),
    };
    imports::ReplaceIn(imports::LibraryModule(), replacements, std::size(replacements));
    // As for a change in another folder that is watched.
    SetEvent(reinterpret_cast<HANDLE>(watch.GetWaitHandle()));
  }
  ASSERT_NE(s_cancelled, nullptr);
  s_system.join();
  s_cancelled = nullptr;
  EXPECT_TRUE(s_wasDone);
  const imports::Replacement before = imports::Replace("CancelIoEx", s_cancel, &s_cancel);
  imports::ReplaceIn(imports::LibraryModule(), &before, 1);
}

}  // namespace
