#include <windows.h>

#include <cstdio>

#include "ztk/ztk.h"

int main() {
  ZTKFileConfig config("Painter", "Painter", CONF_ALL);
  config.SetPath("/Window");
  const auto watched = reinterpret_cast<HANDLE>(config.GetWaitHandle());
  config.Dispatch();

  {  // Some other program saves.
    ZTKFileConfig other("Painter", "Painter", CONF_ALL);
    other.SetPath("/Window");
    other.Write("Width", 1280UL);
  }

  if (WaitForSingleObject(watched, 1000) == WAIT_OBJECT_0 && config.Dispatch() && config.Reload()) {
    ZTKString width;
    config.Read("Width", width);
    std::printf("the width is %s now\n", width.c_str());
  }

  config.Write("Width", 640UL);
  config.Flush();
  std::printf("my own saving is %s\n", config.Dispatch() ? "news to me" : "no news");
  return 0;
}
