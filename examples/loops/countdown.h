#pragma once

#include <cstdio>
#include <functional>
#include <utility>

#include "ztk/system/timer.h"

/// The timer that every example runs: prints a number each period down to 1, then, after a one-shot
/// pause, "lift-off", and tells the program that it is done.
class Countdown : public ZTKTimer {
 public:
  Countdown(int nFrom, std::function<void()> done) : m_left(nFrom), m_done(std::move(done)) {}

  void Notify() override {
    if (IsOneShot()) {  // It is stopped by now.
      std::printf("lift-off\n");
      m_done();
      return;
    }
    std::printf("%d\n", m_left);
    if (--m_left == 0) Start(2UL * GetInterval(), 1);
  }

 private:
  int m_left;
  std::function<void()> m_done;
};
