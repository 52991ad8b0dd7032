#include "tests/support/slot_order.h"

#include <gtest/gtest.h>

#include "ztk/text.h"

namespace {

TEST_F(SlotOrder, TextBuffer) {
  using Text = ZTKTextBuffer;
  ExpectSlots<Text>(2,
                    {SlotOf(&Text::OnExists), SlotOf(&Text::OnOpen), SlotOf(&Text::OnClose),
                     SlotOf(&Text::OnRead), SlotOf(&Text::OnWrite)},
                    7);
  EXPECT_EQ(SlotCount<ZTKTextFile>(), 7);
}

TEST_F(SlotOrder, Configuration) {
  using Config = ZTKConfigBase;
  using Text = const ZTKString&;
  ExpectSlots<Config>(
      2,
      {SlotOf(&Config::SetPath), SlotOf(&Config::GetGroup), SlotOf(&Config::GetEntry),
       SlotOf(&Config::DeleteEntry), SlotOf(&Config::DeleteGroup),
       SlotOf(static_cast<bool (Config::*)(Text, ZTKString&)>(&Config::Read)),
       SlotOf(static_cast<bool (Config::*)(Text, unsigned long&)>(&Config::Read)),
       SlotOf(static_cast<bool (Config::*)(Text, Text)>(&Config::Write)),
       SlotOf(static_cast<bool (Config::*)(Text, unsigned long)>(&Config::Write)),
       SlotOf(&Config::GetEntryType), SlotOf(&Config::Flush)},
      13);
  EXPECT_EQ(SlotCount<ZTKFileConfig>(), 13);
}

}  // namespace
