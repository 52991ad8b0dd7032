// A configuration: written, read back by a second object, and shown as it lies on disk.

#include <sstream>

#include "examples/tour/tour.h"
#include "ztk/config/file_config.h"
#include "ztk/file/file_system.h"

bool ConfigTour() {
  Title("Configuration: one file of settings per user and application");

  ZTKString path;
  {
    // The file is <preferences folder>/ztk-tour.conf; groups live below the root "Painter".
    ZTKFileConfig config("Painter", "ztk-tour");
    path = config.GetFilePath();
    config.SetPath("/Window");
    config.Write("Width", 1280UL);
    config.Write("Title", "Still life; with # and = signs");
    config.SetPath("/Recent/Files");
    config.Write("1", "/home/ada/apples.png");
    config.Write("0", "/home/ada/pears.png");
    // The destructor flushes what changed.
  }
  Say("written to %s", path.c_str());

  const std::string onDisk = FileBytes(path.c_str());
  std::istringstream text(onDisk.size() > 3 ? onDisk.substr(3) : "");
  for (std::string line; std::getline(text, line);) {
    Say("  | %s", line.substr(0, line.find('\r')).c_str());
  }
  Say("its first bytes:");
  ShowHex(std::string_view(onDisk).substr(0, 32));
  bool ok = Expect("on disk: a mark, groups and keys in order, CR LF",
                   onDisk ==
                       "\xEF\xBB\xBF"
                       "[Painter]\r\n"
                       "[Painter/Recent]\r\n"
                       "[Painter/Recent/Files]\r\n"
                       "0=/home/ada/pears.png\r\n"
                       "1=/home/ada/apples.png\r\n"
                       "[Painter/Window]\r\n"
                       "Title=Still life; with # and = signs\r\n"
                       "Width=1280\r\n");

  ZTKFileConfig again("Painter", "ztk-tour");
  again.SetPath("/Window");
  unsigned long width = 0;
  ZTKString title;
  ok = Expect("the width is there", again.Read("Width", width)) && ok;
  ok = Expect("and is what was written", width == 1280) && ok;
  ok = Expect("so is the title", again.Read("Title", title)) && ok;
  ok = Expect("Title", title.view(), "Still life; with # and = signs") && ok;

  again.SetPath("../Recent/Files");
  ZTKString key;
  for (unsigned long i = 0; again.GetEntry(key, i); ++i) {
    ZTKString value;
    ok = again.Read(key, value) && ok;
    Say("%s%s = %s", again.GetPath().c_str(), key.c_str(), value.c_str());
  }
  ok = Expect("deleting a key that is there", again.DeleteEntry("1")) && ok;
  ok = Expect("marks the configuration dirty", again.IsDirty()) && ok;
  ok = Expect("and Flush writes the file anew", again.Flush() && !again.IsDirty()) && ok;
  ok =
      Expect("without that key", FileBytes(path.c_str()).find("apples") == std::string::npos) && ok;
  return Expect("the tour's file is removed", ZTKRemoveFile(path)) && ok;
}
