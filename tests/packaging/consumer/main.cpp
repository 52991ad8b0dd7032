// A user's program: a little of every subsystem, and what crosses the border of a shared library
// badly when something is not exported: derived classes, casts, templates, static data.

#include <cstdio>
#include <cstring>
#include <iostream>
#include <typeinfo>

#include "ztk/ztk.h"

#ifdef WITH_MAC_PATHS
#include "ztk/platform/mac/mac_paths.h"
#endif

namespace {

// A sink of the program's own.
class Sum : public ZTKOutputStream {
 public:
  unsigned long Total() const { return m_total; }

 protected:
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nSize) override {
    const auto* const bytes = static_cast<const unsigned char*>(pBuffer);
    for (unsigned long i = 0; i < nSize; ++i) m_total += bytes[i];
    return nSize;
  }

 private:
  unsigned long m_total = 0;
};

const char* Kind(ZTKOutputStream& stream) {
  if (dynamic_cast<ZTKMemoryOutputStream*>(&stream) != nullptr) return "memory";
  return typeid(stream) == typeid(Sum) ? "sum" : "other";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "dialog") == 0) {
    ZTKString text;
    ZTKFileDLG::QueryBackEnd(text);
    return std::puts(text.c_str()) < 0;
  }

  std::cout << ZTKString::Format("%s %d", "answer", 42) << '\n';

  Sum sum;
  ZTKDataStream data(sum);
  data.Write32(0x01020304);
  ZTKMemoryOutputStream memory;
  std::cout << Kind(memory) << ' ' << Kind(sum) << ' ' << sum.Total() << '\n';

  ZTKMap map(17);
  map.Insert(4, 16);
  map.Insert(5, 25);
  unsigned long squares = 0;
  for (const auto& [key, value] : map) squares += value;
  std::cout << squares << '\n';

  ZTKStringArray words;
  words.Add("one", 1);
  words.Add("two", 1);
  for (const ZTKString& word : words) std::cout << word << '\n';

#ifdef WITH_MAC_PATHS
  ZTKString temporary;
  ZTKMacFindFolder(-32768, 0x74656D70, 1, temporary);
  if (temporary.Len() == 0) return 1;
#endif
  ZTKFileName name("/usr/lib/libx.so", ZTKPathUnix);
  std::cout << name.GetName() << ' ' << name.GetExt() << '\n';

  const ZTKDateTime time(15, ZTKDateTime::MONTH_MAR, 2024, 12, 30, 0, 0);
  std::cout << time.XPGetTm(ZTKDateTime::TimeZone(ZTKDateTime::TZ_LOCAL)).year << '\n';

  std::cout << "log level " << ZTKLog::ms_logLevel << '\n';
  return 0;
}
