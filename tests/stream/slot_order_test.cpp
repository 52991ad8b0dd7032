#include "tests/support/slot_order.h"

#include <gtest/gtest.h>

#include "ztk/stream.h"

namespace {

using Base = ZTKStreamBase;
using In = ZTKInputStream;
using Out = ZTKOutputStream;
using Buffer = ZTKStreamBuffer;

constexpr long kInSlots = 13, kOutSlots = 11;

TEST_F(SlotOrder, StreamBase) {
  ExpectSlots<Base>(2, {SlotOf(&Base::GetSize), SlotOf(&Base::OnSysSeek), SlotOf(&Base::OnSysTell)},
                    5);
}

TEST_F(SlotOrder, InputStream) {
  ExpectSlots<In>(
      5,
      {SlotOf(&In::Peek), SlotOf(static_cast<In& (In::*)(void*, unsigned long)>(&In::Read)),
       SlotOf(&In::LastRead), SlotOf(&In::CanRead), SlotOf(&In::Eof), SlotOf(&In::SeekI),
       SlotOf(&In::TellI), SlotOf(&In::OnSysRead)},
      kInSlots);
}

TEST_F(SlotOrder, OutputStream) {
  ExpectSlots<Out>(5,
                   {SlotOf(static_cast<Out& (Out::*)(const void*, unsigned long)>(&Out::Write)),
                    SlotOf(&Out::SeekO), SlotOf(&Out::TellO), SlotOf(&Out::LastWrite),
                    SlotOf(&Out::Sync), SlotOf(&Out::OnSysWrite)},
                   kOutSlots);
}

TEST_F(SlotOrder, StreamBuffer) {
  ExpectSlots<Buffer>(
      2,
      {SlotOf(static_cast<unsigned long (Buffer::*)(void*, unsigned long)>(&Buffer::Read)),
       SlotOf(static_cast<unsigned long (Buffer::*)(const void*, unsigned long)>(&Buffer::Write)),
       SlotOf(&Buffer::Peek), SlotOf(&Buffer::GetChar), SlotOf(&Buffer::PutChar),
       SlotOf(&Buffer::Tell), SlotOf(&Buffer::Seek)},
      9);
}

TEST_F(SlotOrder, DerivedStreamsAddNone) {
  EXPECT_EQ(SlotCount<ZTKFilterInputStream>(), kInSlots);
  EXPECT_EQ(SlotCount<ZTKBufferedInputStream>(), kInSlots);
  EXPECT_EQ(SlotCount<ZTKMemoryInputStream>(), kInSlots);
  EXPECT_EQ(SlotCount<ZTKFilterOutputStream>(), kOutSlots);
  EXPECT_EQ(SlotCount<ZTKBufferedOutputStream>(), kOutSlots);
  EXPECT_EQ(SlotCount<ZTKMemoryOutputStream>(), kOutSlots);
  EXPECT_EQ(SlotCount<ZTKCountingOutputStream>(), kOutSlots);
}

}  // namespace
