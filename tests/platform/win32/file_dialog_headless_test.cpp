#include <gtest/gtest.h>

#include "ztk/system/file_dialog.h"

// Where there is no display, as on a machine that builds. A desktop skips it.

TEST(FileDialogWin32WithoutADisplay, IsCancelledAtOnceWithTheReason) {
  ZTKString reason;
  if (ZTKFileDLG::QueryBackEnd(reason)) GTEST_SKIP() << "there is a display";
  EXPECT_NE(reason.view().find("no display"), std::string_view::npos) << reason.c_str();
  ZTKFileDLG dialog(nullptr, FD_OPEN, "", "", "", "");
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(dialog.GetPath().view(), "");
}
