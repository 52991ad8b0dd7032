// Opens the file dialog and tells what came of it:
//
//     ztk_dialog open|save [folder]
//
// A timer runs all the while, to show that a modal dialog does not stop a program's timers.

#include <cstdio>
#include <cstring>

#include "ztk/ztk.h"

namespace {

struct Ticker : ZTKTimer {
  void Notify() override { ++ticks; }
  unsigned long ticks = 0;
};

constexpr char kFilters[] =
    "Pictures|*.png;*.jpg;*.jpeg;*.svg|Text files|*.txt;*.md;*.log|All files|*.*|";

}  // namespace

int main(int argc, char** argv) {
  const bool save = argc > 1 && std::strcmp(argv[1], "save") == 0;
  const ZTKString folder = argc > 2 ? argv[2] : "";

  ZTKString backEnd;
  if (!ZTKFileDLG::QueryBackEnd(backEnd)) {
    std::printf("No dialog: %s.\n", backEnd.c_str());
    return 1;
  }
  std::printf("The back end is %s.\n", backEnd.c_str());

  Ticker ticker;
  (void)ticker.Start(100, 0);
  ZTKFileDLG dialog(nullptr, save ? FD_SAVE_AS : FD_OPEN, kFilters, "", folder,
                    save ? "holiday.txt" : "");
  const int result = dialog.ShowModal();

  std::printf("The timer fired %lu times meanwhile.\n", ticker.ticks);
  if (result != DLG_OK) {
    std::printf("Cancelled.\n");
    return 0;
  }
  std::printf("path       %s\ndirectory  %s\nname       %s\nfilter     %d\n",
              dialog.GetPath().c_str(), dialog.GetDirectory().c_str(), dialog.GetFilename().c_str(),
              dialog.GetFilterIndex());
  return 0;
}
