#include "ztk/system/semaphore.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(ZTKSemaphore, HasTheDescribedCodes) {
  EXPECT_EQ(ZTK_SYNC_NO_ERROR, 0);
  EXPECT_EQ(ZTK_SYNC_BUSY, 2);
  EXPECT_EQ(ZTK_SYNC_TIMEOUT, 3);
  EXPECT_EQ(ZTK_SYNC_MISC_ERROR, 5);
  EXPECT_EQ(ZTK_WAIT_FOREVER, 0xFFFFFFFFul);
}

TEST(ZTKSemaphore, IsNotCopied) { EXPECT_FALSE(std::is_copy_constructible_v<ZTKSemaphore>); }
