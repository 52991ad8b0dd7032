#pragma once

#include <gtest/gtest.h>

/// The same in every run, but for --gtest_shuffle: then that of --gtest_random_seed, another one in
/// each round of --gtest_repeat.
inline unsigned RandomSeed() {
  return GTEST_FLAG_GET(shuffle)
             ? static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())
             : 1;
}
