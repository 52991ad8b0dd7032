#include "ztk/system/event.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "ztk/system/msg_event.h"

TEST(CZTKMsgEvent, IsNotCopied) { EXPECT_FALSE(std::is_copy_constructible_v<CZTKMsgEvent>); }

TEST(ZTKEvent, KeepsItsNumbersInTheSecondAndFourthField) {
  const ZTKEvent event(11, 22);
  const int expected[] = {0, 22, 0, 11, 0, 0, 0};
  const ZTKEvent copy(event);
  ZTKEvent assigned(1, 2);
  assigned = event;
  for (int i = 0; i < ZTKEvent::kFields; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(event.GetField(i), expected[i]);
    EXPECT_EQ(copy.GetField(i), expected[i]);
    EXPECT_EQ(assigned.GetField(i), expected[i]);
  }
  EXPECT_EQ(event.GetField(-1), 0);
  EXPECT_EQ(event.GetField(7), 0);
}

TEST(ZTKEvent, CopiesEveryField) {
  class Numbered : public ZTKEvent {
   public:
    Numbered() : ZTKEvent(0, 0) {
      for (int i = 0; i < kFields; ++i) m_field[i] = i + 1;
    }
  };
  const Numbered original;
  const ZTKEvent copy(original);
  for (int i = 0; i < ZTKEvent::kFields; ++i) EXPECT_EQ(copy.GetField(i), i + 1);
}

TEST(ZTKEvent, IsDeletedThroughItsBase) {
  static bool s_wasDeleted;
  s_wasDeleted = false;
  class Derived : public ZTKEvent {
   public:
    using ZTKEvent::ZTKEvent;
    ~Derived() override { s_wasDeleted = true; }
  };
  ZTKEvent* const event = new Derived(1, 2);
  delete event;
  EXPECT_TRUE(s_wasDeleted);
}
