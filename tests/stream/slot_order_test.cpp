// The order of the virtual operations is part of the interface: programs are linked against it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "ztk/stream.h"

namespace {

// A pointer to a virtual member function holds the offset of its slot, plus one. True where the
// library runs (x86, either width); elsewhere the test is left out.
template <typename F>
long SlotOf(F function) {
  std::uintptr_t word;
  std::memcpy(&word, &function, sizeof word);
  return word % 2 == 1 ? static_cast<long>((word - 1) / sizeof(void*)) : -1;
}

// The destructor takes the first two slots.
void ExpectConsecutive(long first, const std::vector<long>& slots) {
  for (size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], first + static_cast<long>(i)) << "operation " << i;
  }
}

using Base = ZTKStreamBase;
using In = ZTKInputStream;
using Out = ZTKOutputStream;
using Buffer = ZTKStreamBuffer;

#if defined(__x86_64__) || defined(__i386__)
TEST(SlotOrder, StreamBase) {
  ExpectConsecutive(2,
                    {SlotOf(&Base::GetSize), SlotOf(&Base::OnSysSeek), SlotOf(&Base::OnSysTell)});
}

TEST(SlotOrder, InputStream) {
  ExpectConsecutive(
      5, {SlotOf(&In::Peek), SlotOf(static_cast<In& (In::*)(void*, unsigned long)>(&In::Read)),
          SlotOf(&In::LastRead), SlotOf(&In::CanRead), SlotOf(&In::Eof), SlotOf(&In::SeekI),
          SlotOf(&In::TellI), SlotOf(&In::OnSysRead)});
}

TEST(SlotOrder, OutputStream) {
  ExpectConsecutive(5, {SlotOf(static_cast<Out& (Out::*)(const void*, unsigned long)>(&Out::Write)),
                        SlotOf(&Out::SeekO), SlotOf(&Out::TellO), SlotOf(&Out::LastWrite),
                        SlotOf(&Out::Sync), SlotOf(&Out::OnSysWrite)});
}

TEST(SlotOrder, StreamBuffer) {
  ExpectConsecutive(
      2,
      {SlotOf(static_cast<unsigned long (Buffer::*)(void*, unsigned long)>(&Buffer::Read)),
       SlotOf(static_cast<unsigned long (Buffer::*)(const void*, unsigned long)>(&Buffer::Write)),
       SlotOf(&Buffer::Peek), SlotOf(&Buffer::GetChar), SlotOf(&Buffer::PutChar),
       SlotOf(&Buffer::Tell), SlotOf(&Buffer::Seek)});
}
#endif

}  // namespace
