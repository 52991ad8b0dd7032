// A program without a main loop uses the library's.

#include "examples/loops/countdown.h"

int main() {
  ZTKEventLoop& loop = ZTKEventLoop::Main();
  Countdown countdown(3, [&loop] { loop.Quit(); });
  if (!countdown.Start(50, 0)) return 1;
  loop.Run();
  return 0;
}
