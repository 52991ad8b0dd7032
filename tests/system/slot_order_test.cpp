#include "tests/support/slot_order.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "ztk/system.h"

namespace {

TEST_F(SlotOrder, Timer) {
  using Timer = ZTKTimer;
  ExpectSlots<Timer>(2,
                     {SlotOf(&Timer::Start), SlotOf(&Timer::Stop), SlotOf(&Timer::Notify),
                      SlotOf(&Timer::IsRunning)},
                     6);
}

TEST_F(SlotOrder, Thread) {
  struct Open : ZTKThread {
    using ZTKThread::Entry;
  };
  ExpectSlots<ZTKThread>(2, {SlotOf(&Open::Entry)}, 3);
}

TEST_F(SlotOrder, Event) { EXPECT_EQ(SlotCount<ZTKEvent>(), 2); }

TEST_F(SlotOrder, FileDialog) { ExpectSlots<ZTKFileDLG>(2, {SlotOf(&ZTKFileDLG::ShowModal)}, 3); }

TEST_F(SlotOrder, OthersHaveNoVirtualOperations) {
  EXPECT_FALSE(std::is_polymorphic_v<ZTKMutex>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKCriticalSection>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKSemaphore>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKCondition>);
  EXPECT_FALSE(std::is_polymorphic_v<CZTKMsgEvent>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKModule>);
  EXPECT_FALSE(std::is_polymorphic_v<ZTKDateTime>);
}

}  // namespace
