#include <gtest/gtest.h>

#include "tests/support/wait_handle.h"
#include "tests/system/scripted_dialog.h"
#include "ztk/system/timer.h"

TEST(ZTKFileDLG, LetsTheBackEndServeTheTimers) {
  struct Count : ZTKTimer {
    void Notify() override { ++fired; }
    int fired = 0;
  } timer;
  ScriptedBackend backend;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    while (timer.fired < 3 && IsSignalled(request.nTimerHandle, 10'000)) {
      request.pfnServeTimers(request.pContext);
    }
    return 0;
  };
  ASSERT_TRUE(timer.Start(1, 0));
  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_CANCEL);
  EXPECT_EQ(timer.fired, 3);
}
