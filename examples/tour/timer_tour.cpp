// Timers: one that fires once and one that repeats, due against fired.

#include <algorithm>
#include <vector>

#include "examples/tour/tour.h"
#include "ztk/system/timer.h"

namespace {

double Milliseconds() { return static_cast<double>(ZTKEventLoop::Main().Now()) / 1e6; }

// Keeps the times at which it fired, counted from its start.
class Stopwatch : public ZTKTimer {
 public:
  bool Begin(unsigned long nMilliseconds, int bOneShot) {
    m_start = Milliseconds();
    return Start(nMilliseconds, bOneShot);
  }
  void Notify() override {
    m_fired.push_back(Milliseconds() - m_start);
    if (m_fired.size() == m_wanted) ZTKEventLoop::Main().Quit();
  }
  void QuitAfter(size_t nFirings) { m_wanted = nFirings; }
  const std::vector<double>& Fired() const { return m_fired; }

 private:
  double m_start = 0;
  std::vector<double> m_fired;
  size_t m_wanted = 0;
};

// No firing before its time; an expiry that a busy machine missed moves the later ones on.
bool NeverEarly(const Stopwatch& timer, const char* pszName) {
  bool ok = true;
  double due = 0;
  for (const double fired : timer.Fired()) {
    due += timer.GetInterval();
    Say("%-10s due %6.1f ms, fired %8.3f ms", pszName, due, fired);
    ok = ok && fired >= due;
  }
  return ok;
}

}  // namespace

bool TimerTour() {
  Title("Timers");

  Stopwatch once;
  Stopwatch repeating;
  bool ok = Expect("both start", once.Begin(35, 1) && repeating.Begin(20, 0));
  repeating.QuitAfter(5);
  ZTKEventLoop::Main().Run();
  repeating.Stop();

  ok = Expect("the one-shot timer is never early", NeverEarly(once, "one-shot")) && ok;
  ok = Expect("nor is the repeating one", NeverEarly(repeating, "repeating")) && ok;
  ok = Expect("one fired once, one five times",
              once.Fired().size() == 1 && repeating.Fired().size() == 5) &&
       ok;
  return Expect("neither runs any more", !once.IsRunning() && !repeating.IsRunning()) && ok;
}
