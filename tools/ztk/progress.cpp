#include "tools/ztk/progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kInterval{100};
constexpr unsigned kBarWidth = 30;

}  // namespace

Progress::Progress(std::string label, uint64_t nTotal)
    : m_label(std::move(label)),
      m_total(IsErrorATerminal() ? nTotal : 0),
      m_next(Clock::now() + kPatience) {}

Progress::~Progress() {
  if (m_isShown) std::fputs("\r\033[K", stderr);
}

bool Progress::Update(uint64_t nDone) {
  if (m_total != 0 && Clock::now() >= m_next) {
    m_isShown = true;
    m_next = Clock::now() + kInterval;
    std::fprintf(stderr, "\r%s %s", ProgressBar(nDone, m_total, kBarWidth).c_str(),
                 m_label.c_str());
  }
  return !IsInterrupted();
}

std::string ProgressBar(uint64_t nDone, uint64_t nTotal, unsigned nWidth) {
  const double part =
      nTotal == 0 ? 1 : std::min(1.0, static_cast<double>(nDone) / static_cast<double>(nTotal));
  const auto nMarks = static_cast<size_t>(part * nWidth);
  char percent[16];
  std::snprintf(percent, sizeof percent, "%3d %%", static_cast<int>(part * 100));
  return '[' + std::string(nMarks, '#') + std::string(nWidth - nMarks, '.') + "] " + percent;
}
