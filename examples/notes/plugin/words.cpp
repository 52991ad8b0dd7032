// The plug-in that counts words: runs of anything but white space.

#include <cctype>

extern "C" {
#define EXPORT __attribute__((visibility("default")))
EXPORT void WordsInit();
EXPORT void WordsCleanup();
EXPORT unsigned long WordsCount(const char* text);

void WordsInit() {}
void WordsCleanup() {}

unsigned long WordsCount(const char* text) {
  unsigned long count = 0;
  bool inside = false;
  for (; *text != '\0'; ++text) {
    const bool blank = std::isspace(static_cast<unsigned char>(*text)) != 0;
    if (inside && blank) inside = false;
    if (!inside && !blank) {
      inside = true;
      ++count;
    }
  }
  return count;
}
}
