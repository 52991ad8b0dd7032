// Uses timers before main() and after every static object is gone, and says so.

#include <cstdio>

#include "ztk/system/timer.h"

namespace {

class Counting : public ZTKTimer {
 public:
  void Notify() override { ++count; }
  int count = 0;
};

// Runs from before main() until its destructor restarts and then abandons it.
struct StaticUser {
  StaticUser() { timer.Start(1000, 0); }
  ~StaticUser() {
    std::printf("%s in a static destructor\n", timer.Start(1000, 0) ? "restarted" : "refused");
  }
  Counting timer;
} s_user;

// Behind the exit handlers, where the map of the running timers has been emptied.
__attribute__((destructor)) void AtTheVeryEnd() {
  static Counting* const timer = new Counting;  // Never destroyed.
  const bool started = timer->Start(1000, 0);
  ZTKTimer::TimerProc(static_cast<unsigned long>(timer->GetId()));
  timer->Stop();
  std::printf("at the very end: %s, notified %d\n", started ? "started" : "refused", timer->count);
  std::fflush(stdout);
}

}  // namespace

int main() { return s_user.timer.GetId() == 1 ? 0 : 1; }
