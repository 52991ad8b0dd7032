#include <cstdio>
#include <filesystem>

#include "ztk/ztk.h"

namespace fs = std::filesystem;

int main() {
  ZTKFile("real.txt", ZTKFile::write).Write("old\n", 4);
  fs::create_symlink("real.txt", "link.txt");
  fs::create_hard_link("real.txt", "other-name.txt");

  ZTKTempFile temp("link.txt", TEMP_FOLLOW_LINKS | TEMP_KEEP_IDENTITY | TEMP_ONE_STEP);
  temp.GetFile().Write("new\n", 4);
  if (!temp.Commit()) return 1;  // Nothing that was written may have been lost on the way.

  char text[4] = {};
  ZTKFile("other-name.txt", ZTKFile::read).Read(text, 3);
  std::printf("link.txt is %s, other-name.txt holds \"%s\"\n",
              fs::is_symlink("link.txt") ? "still a link" : "a file of its own", text);
  return 0;
}
