// A module that uses the library, to be loaded and unloaded again.
#include <thread>

#include "ztk/foundation/list.h"
#include "ztk/foundation/maps.h"
#include "ztk/foundation/string_array.h"

namespace {

void Use() {
  static int element;
  ZTKListBase list, kept;
  for (int i = 0; i < 5000; ++i) list.Append(&element);
  for (int i = 0; i < 100; ++i) kept.Append(&element);
  list.Clear();
  ZTKMap map(100);
  for (unsigned long key = 0; key < 500; ++key) map.Insert(key, key);
  unsigned long bucket = 0;
  map.GetNodeAt(7, bucket);
  ZTKStringArray strings;
  for (int i = 0; i < 100; ++i) strings.Add("a text of some length", 1);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void UseLists() {
  Use();
  std::thread(Use).join();
}
