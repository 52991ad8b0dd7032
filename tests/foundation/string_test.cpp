#include "ztk/foundation/string.h"

#include <gtest/gtest.h>

TEST(ZTKString, PlusAppendsToItsLeftSide) {
  ZTKString text("abc");
  text + "d";
  EXPECT_STREQ(text.c_str(), "abcd");
}
