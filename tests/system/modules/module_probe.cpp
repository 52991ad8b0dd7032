// Loads the module that its argument names, from a process of its own; 0 when that worked.

#include "ztk/system/module.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const ZTKModule module(argv[1], "", "");
  return module.IsLoaded() ? 0 : 1;
}
