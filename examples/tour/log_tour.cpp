// The log: off until it is switched on, five levels, a threshold, and a target of one's own.

#include <vector>

#include "examples/tour/tour.h"
#include "ztk/log/log.h"

namespace {

// A target that keeps its lines; the library adds the time stamp only in its own targets.
class LinesTarget : public ZTKLog {
 public:
  explicit LinesTarget(std::vector<std::string>& lines) : m_lines(lines) {}
  void DoLogString(const char* pszText) override { m_lines.emplace_back(pszText); }

 private:
  std::vector<std::string>& m_lines;
};

void LogAtEveryLevel() {
  ZTKLogError("disk %d is full", 3);
  ZTKLogWarning("disk %d is nearly full", 2);
  ZTKLogInfo("disk %d is fine", 1);
  ZTKLog::OnLog(4, "looked at three disks");
  ZTKLog::OnLog(5, "leaving");
}

}  // namespace

bool LogTour() {
  Title("The log");

  std::vector<std::string> lines;
  ZTKLog::SetActiveTarget(new LinesTarget(lines));
  LogAtEveryLevel();
  bool ok = Expect("off: nothing is logged", lines.empty());

  ZTKLog::ms_doLog = 1;
  LogAtEveryLevel();
  for (const std::string& line : lines) Say("%s", line.c_str());
  ok =
      Expect("on: every level",
             lines == std::vector<std::string>{"Error: disk 3 is full",
                                               "Warning: disk 2 is nearly full", "disk 1 is fine",
                                               "Debug: looked at three disks", "Trace: leaving"}) &&
      ok;

  lines.clear();
  ZTKLog::ms_logLevel = 2;
  LogAtEveryLevel();
  ok = Expect("threshold 2: errors and warnings only", lines.size() == 2) && ok;

  const std::string path = TourFile("tour.log");
  ZTKLog::SetActiveTarget(new ZTKLogFile(path.c_str()));
  ZTKLogWarning("kept in a file");
  ZTKLog::SetActiveTarget(nullptr);
  ZTKLog::ms_doLog = 0;
  const std::string file = FileBytes(path);
  ShowHex(file);
  ok = Expect("a file line is stamped and ends in CR alone",
              file.size() > 26 && file.ends_with(" Warning: kept in a file\r")) &&
       ok;
  return ok;
}
