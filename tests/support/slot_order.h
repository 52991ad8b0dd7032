#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

// The order of virtual operations is part of the interface: programs are linked against it.

/// Whether a pointer to a virtual member function holds the offset of its slot, plus one. True for
/// the common C++ interface; that of ARM keeps the mark elsewhere.
#if defined(__arm__) || defined(__aarch64__)
inline constexpr bool kSlotsAreKnown = false;
#else
inline constexpr bool kSlotsAreKnown = true;
#endif

template <typename F>
long SlotOf(F function) {
  std::uintptr_t word;
  std::memcpy(&word, &function, sizeof word);
  return word % 2 == 1 ? static_cast<long>((word - 1) / sizeof(void*)) : -1;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // Of those bases that have none, by intent.
/// A subclass whose first operation of its own is in the slot behind all of its base's.
template <class Base>
struct WithOneMore : Base {
  virtual void OneMore() {}
  virtual ~WithOneMore() {}
};
#pragma GCC diagnostic pop

template <class Base>
long SlotCount() {
  return SlotOf(&WithOneMore<Base>::OneMore);
}

/// Expects a class to have these operations, one behind the other from slot `nFirst` on, and
/// `nCount` slots in all. A virtual destructor takes two.
template <class Class>
void ExpectSlots(long nFirst, const std::vector<long>& slots, long nCount) {
  for (size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], nFirst + static_cast<long>(i)) << "operation " << i;
  }
  EXPECT_EQ(SlotCount<Class>(), nCount);
}

/// Tests of the order; skipped where it cannot be seen.
class SlotOrder : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!kSlotsAreKnown) GTEST_SKIP() << "slots cannot be told here";
  }
};
