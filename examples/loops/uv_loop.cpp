// A libuv program watches the descriptor with a poll handle.

#include <uv.h>

#include "examples/loops/countdown.h"

int main() {
  uv_loop_t* const loop = uv_default_loop();
  uv_poll_t timers;
  if (uv_poll_init(loop, &timers, ZTKEventLoop::Main().GetFd()) != 0) return 1;
  uv_poll_start(&timers, UV_READABLE,
                [](uv_poll_t*, int, int) { ZTKEventLoop::Main().Dispatch(); });

  // The loop ends when it has nothing left to watch.
  Countdown countdown(3, [&timers] { uv_close(reinterpret_cast<uv_handle_t*>(&timers), nullptr); });
  if (!countdown.Start(50, 0)) return 1;
  uv_run(loop, UV_RUN_DEFAULT);
  return uv_loop_close(loop) == 0 ? 0 : 1;
}
