#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>

#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"

TEST(TempDir, IsEmptyAndGoesAway) {
  std::filesystem::path path;
  {
    TempDir dir;
    path = dir.Path();
    EXPECT_TRUE(std::filesystem::is_empty(path));
    WriteWholeFile(dir / "a", std::string_view("x\0y", 3));
    EXPECT_EQ(Hex(ReadWholeFile(dir / "a")), "78 00 79");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(FailingAllocator, FailsTheChosenAllocationOnly) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  failing_allocator::Scope scope(1, 1);
  void* const first = std::malloc(10);
  void* const second = std::malloc(10);
  char* const third = new (std::nothrow) char[10];
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  EXPECT_EQ(scope.Asked(), 3);
  EXPECT_TRUE(scope.Failed());
  std::free(first);
  delete[] third;
}
