// A program whose loop is epoll watches one descriptor more.

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>

#include "examples/loops/countdown.h"

int main() {
  ZTKEventLoop& timers = ZTKEventLoop::Main();
  const int poll = epoll_create1(EPOLL_CLOEXEC);
  epoll_event watched = {};
  watched.events = EPOLLIN;
  watched.data.fd = timers.GetFd();
  if (poll < 0 || epoll_ctl(poll, EPOLL_CTL_ADD, timers.GetFd(), &watched) != 0) return 1;

  bool done = false;
  Countdown countdown(3, [&done] { done = true; });
  if (!countdown.Start(50, 0)) return 1;
  while (!done) {
    epoll_event event = {};
    const int count = epoll_wait(poll, &event, 1, -1);
    if (count < 0 && errno != EINTR) return 1;
    if (count == 1 && event.data.fd == timers.GetFd()) timers.Dispatch();
  }
  close(poll);
  return 0;
}
