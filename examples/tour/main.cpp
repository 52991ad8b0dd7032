// A tour of the library on real files. Everything happens under a temporary home, which is removed
// at the end; the exit code is 0 when every station found what it expected.

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "examples/tour/tour.h"

namespace {

std::string& Folder() {
  static std::string folder;
  return folder;
}

// A home of the tour's own, so that no file of the user's is ever touched.
bool MakeTemporaryHome() {
  std::error_code error;
  std::string pattern = (std::filesystem::temp_directory_path(error) / "ztk-tour-XXXXXX").string();
  if (error || mkdtemp(pattern.data()) == nullptr) return false;
  Folder() = pattern;
  setenv("HOME", pattern.c_str(), 1);
  setenv("XDG_CONFIG_HOME", (pattern + "/preferences").c_str(), 1);
  return true;
}

}  // namespace

const std::string& TourFolder() { return Folder(); }

int main() {
  if (!MakeTemporaryHome()) {
    std::fprintf(stderr, "tour: cannot make a temporary folder\n");
    return 1;
  }
  std::printf("A tour of ztkbase, on real files in %s\n", TourFolder().c_str());

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
  std::filesystem::remove_all(TourFolder(), ignored);
  std::printf("\n%s\n", ok ? "Everything came out as expected." : "Something differs, see above.");
  return ok ? 0 : 1;
}
