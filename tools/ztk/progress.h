#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tools/ztk/host.h"

/// A bar on the terminal for work that takes more than half a second; nothing when standard error
/// is no terminal. The bar is gone when the work is done.
class Progress {
 public:
  /// `nTotal` is the amount of work, 0 when it is not known: then there is no bar.
  Progress(std::string label, uint64_t nTotal);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Whether to go on: false once the user has interrupted the program.
  [[nodiscard]] bool Update(uint64_t nDone);

 private:
  using Clock = std::chrono::steady_clock;

  std::string m_label;
  uint64_t m_total;
  bool m_isShown = false;
  Clock::time_point m_next;
};

/// "[#####.....]  50 %", with `nWidth` marks between the brackets.
std::string ProgressBar(uint64_t nDone, uint64_t nTotal, unsigned nWidth);

/// While it lives, an interrupt ends the work at its next `Update` instead of the program at once,
/// so that no temporary file is left behind. The program ends with the object then. One at a time.
class DeferredInterrupts {
 public:
  DeferredInterrupts() { DeferInterrupts(); }
  ~DeferredInterrupts() { ReleaseInterrupts(); }
  DeferredInterrupts(const DeferredInterrupts&) = delete;
  DeferredInterrupts& operator=(const DeferredInterrupts&) = delete;
};
