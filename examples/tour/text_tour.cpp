// Legacy text files: whatever encoding and line ends they come in, they are UTF-8 lines in memory
// and UTF-8 with a mark once they are written.

#include "examples/tour/tour.h"
#include "ztk/text/text_file.h"

namespace {

const char* EncodingName(unsigned short encoding) {
  switch (encoding) {
    case ENC_ANSI:
      return "8-bit code page";
    case ENC_UTF8:
      return "UTF-8 with a mark";
    case ENC_UTF16LE:
      return "UTF-16, little-endian";
    case ENC_UTF16BE:
      return "UTF-16, big-endian";
    default:
      return "none";
  }
}

const char* LineEndName(ZTKTextFileType type) {
  switch (type) {
    case EOL_UNIX:
      return "LF";
    case EOL_DOS:
      return "CR LF";
    case EOL_MAC:
      return "CR";
    default:
      return "none";
  }
}

// Reads the file, lists its lines, rewrites it and compares the new bytes.
bool ReadAndRewrite(const char* name, std::string_view before, std::string_view after) {
  const std::string path = TourFile(name);
  PutFileBytes(path, before);
  std::printf("\n  %s, before:\n", name);
  ShowHex(before);

  ZTKTextFile file(path.c_str());
  bool ok = Expect("opens", file.Open());
  Say("encoding: %s", EncodingName(file.GetEncoding()));
  for (unsigned long i = 0; i < file.GetLineCount(); ++i) {
    Say("line %lu, ends with %-5s: %s", i + 1, LineEndName(file.GetLineType(i)),
        file.GetLine(i).c_str());
  }

  // EOL_NONE: every line keeps the line end it came with.
  ok = Expect("is rewritten", file.Write(EOL_NONE)) && ok;
  const std::string written = FileBytes(path);
  std::printf("  %s, after:\n", name);
  ShowHex(written);
  return Expect("the bytes are the expected UTF-8", written == after) && ok;
}

}  // namespace

bool TextTour() {
  Title("Text files: read in any encoding, written as UTF-8");

  bool ok = ReadAndRewrite("windows-1252.txt",
                           "Caf\xE9\r\n"
                           "\x93quoted\x94 \x80 5\r\n",
                           "\xEF\xBB\xBF"
                           "Caf\xC3\xA9\r\n"
                           "\xE2\x80\x9Cquoted\xE2\x80\x9D \xE2\x82\xAC 5\r\n");

  // U+00E4, a line end, U+1F600 as the pair D83D DE00, a line end.
  using namespace std::string_view_literals;
  ok = ReadAndRewrite("utf-16le.txt", "\xFF\xFE\xE4\0\n\0\x3D\xD8\0\xDE\n\0"sv,
                      "\xEF\xBB\xBF\xC3\xA4\n\xF0\x9F\x98\x80\n") &&
       ok;

  ok = ReadAndRewrite("mixed.txt", "old Mac\rUnix\nDOS\r\nlast",
                      "\xEF\xBB\xBFold Mac\rUnix\nDOS\r\nlast") &&
       ok;

  ZTKTextFile mixed(TourFile("mixed.txt").c_str());
  ok = mixed.Open() && mixed.Write(EOL_UNIX) && ok;
  ok = Expect("asked for one line end, every line gets it, the last one too",
              FileBytes(TourFile("mixed.txt")) == "\xEF\xBB\xBFold Mac\nUnix\nDOS\nlast\n") &&
       ok;
  return ok;
}
