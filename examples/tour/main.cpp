// A tour of the library on real files. Everything happens under a temporary home, which is removed
// at the end; the exit code is 0 when every station found what it expected.

#include <cstdio>
#include <filesystem>

#include "examples/tour/tour.h"
#include "ztk/file/file_system.h"

int main() {
  const std::string home = MakeTemporaryHome();
  if (home.empty()) {
    std::fprintf(stderr, "tour: cannot make a temporary folder\n");
    return 1;
  }
  std::printf("A tour of ztkbase, on real files in %s\n", XPGetTempFolder().c_str());
  if (HasColonPaths()) std::printf("Everywhere in this one, the library's paths have colons.\n");

  // Every station runs, also after one that failed.
  bool ok = ConfigTour();
  ok = TextTour() && ok;
  ok = PathTour() && ok;
  ok = StreamTour() && ok;
  ok = TempFileTour() && ok;
  ok = LogTour() && ok;
  ok = TimerTour() && ok;
  ok = ModuleTour() && ok;

  Title("The file dialog");
  Say("needs a display: `make demo-dialog` opens it");

  std::error_code ignored;
  std::filesystem::remove_all(home, ignored);
  std::printf("\n%s\n", ok ? "Everything came out as expected." : "Something differs, see above.");
  return ok ? 0 : 1;
}
