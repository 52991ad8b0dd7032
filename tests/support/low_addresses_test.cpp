// That the programs of tests notice what they are there to notice: see the tests of these programs
// in CMakeLists.txt, which expect them to fail.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace {

void* CutTo32Bits(void* p) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the fault that is planted.
  return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(p) & 0xFFFFFFFF);
}

}  // namespace

TEST(LowAddresses, AreNotGivenToHeaps) {
  for (size_t size : {1, 16, 100, 1000, 10000, 100000, 1000000}) {
    const auto block = std::make_unique<char[]>(size);
    EXPECT_EQ(std::uint64_t{reinterpret_cast<uintptr_t>(block.get())} >> 32 != 0,
              sizeof(void*) == 8)
        << size;
  }
}

// Run by name only, and expected to fail.
TEST(Planted, DISABLED_CutPointerCrashes) {
  const auto value = std::make_unique<volatile int>(1);
  *static_cast<volatile int*>(CutTo32Bits(const_cast<int*>(value.get()))) = 2;
  EXPECT_EQ(*value, 2);
}

TEST(Planted, DISABLED_CrashFails) {
  volatile int* volatile nowhere = nullptr;
  *nowhere = 1;
}

TEST(Planted, DISABLED_CaseThatFails) { ADD_FAILURE(); }

TEST(Planted, DISABLED_ExitInTheMiddleFails) { std::exit(0); }
