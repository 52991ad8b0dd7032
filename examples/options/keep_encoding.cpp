#include <cstdio>

#include "ztk/ztk.h"

int main() {
  {  // The file of some other program: Windows-1252, and two names for it.
    ZTKFile file("notes.txt", ZTKFile::write);
    file.Write("caf\xE9\r\n", 6);
  }

  ZTKTextFile notes("notes.txt", TEXT_KEEP_ENCODING | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY);
  ZTKTextReport report;
  if (!notes.Open(report)) return 1;
  std::printf("%lld bytes, %lu line with CR LF, no UTF-8 at byte %lld\n",
              static_cast<long long>(report.nBytes), report.nLines[EOL_DOS],
              static_cast<long long>(report.nFirstIllFormed));

  notes.AddLine("na\xC3\xAFve", EOL_DOS);  // Lines are UTF-8 in memory,
  if (!notes.Write(EOL_NONE)) return 1;    // and Windows-1252 on the disk.
  ZTKFile file("notes.txt", ZTKFile::read);
  std::printf("%ld bytes now\n", file.Length());

  notes.AddLine("\xE2\x86\x92", EOL_DOS);  // There is no arrow in Windows-1252.
  std::printf("with an arrow: %s\n", notes.Write(EOL_NONE) ? "saved" : "refused");
  return 0;
}
