#include <cstdio>

#include "ztk/ztk.h"

int main() {
  {
    ZTKFileConfig config("Painter", "Painter");  // $XDG_CONFIG_HOME/Painter.conf
    config.SetPath("/Window");
    config.Write("Width", 1280UL);
    config.Write("Title", "Still life");
  }  // Changes are written when the object goes, or with Flush().

  ZTKFileConfig config("Painter", "Painter");
  config.SetPath("/Window");
  ZTKString key, value;
  for (unsigned long i = 0; config.GetEntry(key, i); ++i) {
    config.Read(key, value);
    std::printf("%s%s = %s\n", config.GetPath().c_str(), key.c_str(), value.c_str());
  }
  return 0;
}
