// A program to stop in: values of the classes that gdb shows in a form of their own.
#include <cstdio>

#include "ztk/ztk.h"

// Set a breakpoint here.
void LookAround(const ZTKString& title) { std::printf("%s\n", title.c_str()); }

// From here on the map keeps the lists of its entries, and is shown the same.
void LookAtEntry(const ZTKPtrMap& map, unsigned long nKey) {
  unsigned long bucket = 0;
  map.GetNodeAt(nKey, bucket);
}

int main() {
  const ZTKString title("Fruit, \"fresh\"");
  const ZTKString empty;

  ZTKStringArray names;
  names.Add("apple", 2);
  names.Add("", 1);
  ZTKArrayLinesType lineEnds;
  lineEnds.Add(EOL_UNIX, 1);
  lineEnds.Add(EOL_DOS, 1);
  ZTKPtrArr pointers;
  pointers.Add(nullptr, 2);

  ZTKListBase list;
  list.Append(nullptr);
  ZTKMap prices(17);
  prices.Insert(16, 250);
  prices.Insert(3, 99);
  ZTKPtrMap owners(17);
  owners.Insert(1, nullptr);
  LookAtEntry(owners, 1);
  ZTKMap erased(17);
  erased.EraseAll();

  const ZTKFileName file("/home/ann/list.txt", ZTKPathUnix);
  const ZTKFileName drive("C:notes\\todo", ZTKPathDos);

  ZTKDateTime leapDay;
  leapDay.Set(86'400'000.0 * 951'782'400);
  leapDay.SetMillisecond(250);
  ZTKDateTime before;
  before.Set(-86'400'000.0 + 250);

  LookAround(title);
}
