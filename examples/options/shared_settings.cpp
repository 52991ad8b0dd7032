#include <cstdio>

#include "ztk/ztk.h"

namespace {

void WriteByHand(const char* pszText) {
  const ZTKString path = ZTKFileConfig("Painter", "Painter").GetFilePath();
  ZTKFile(path.c_str(), ZTKFile::write).Write(pszText, ZTKString(pszText).Len());
}

}  // namespace

int main() {
  WriteByHand("# Painter's settings\n\n[Painter/Window]\n; in pixels\nWidth = 640\n");

  // Two programs that have the same settings open.
  ZTKFileConfig one("Painter", "Painter", CONF_ALL);
  ZTKFileConfig two("Painter", "Painter", CONF_ALL);
  one.SetPath("/Window");
  one.Write("Width", 1280UL);
  two.SetPath("/Window");
  two.Write("Title", "Still life");
  if (!one.Flush() || !two.Flush()) return 1;

  char text[512] = {};
  ZTKFile(two.GetFilePath().c_str(), ZTKFile::read).Read(text, sizeof text - 1);
  std::fputs(text, stdout);
  return 0;
}
