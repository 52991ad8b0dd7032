// A Windows program waits for its messages and for the timers at once.

#include <windows.h>

#include "examples/loops/countdown.h"

int main() {
  ZTKEventLoop& timers = ZTKEventLoop::Main();
  Countdown countdown(3, [] { PostQuitMessage(0); });
  if (!countdown.Start(50, 0)) return 1;

  const HANDLE handle = reinterpret_cast<HANDLE>(timers.GetWaitHandle());
  for (;;) {
    const DWORD woken =
        MsgWaitForMultipleObjectsEx(1, &handle, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    if (woken == WAIT_FAILED) return 1;
    if (woken == WAIT_OBJECT_0) timers.Dispatch();
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      if (message.message == WM_QUIT) return 0;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}
