// Modules: a plug-in of the program's, loaded, called and unloaded.

#include <cstring>

#include "examples/tour/tour.h"
#include "ztk/system/module.h"

bool ModuleTour() {
  Title("Modules");

  ZTKModule module;
  module.SetInitCleanupName("GreeterInit", "GreeterCleanup");
  bool ok = Expect("loaded from the folder for modules", module.Load("ztk_tour_greeter"));

  int (*add)(int, int) = nullptr;
  void* const address = module.GetSymbol("GreeterAdd");
  std::memcpy(&add, &address, sizeof add);
  ok = Expect("its function is found", add != nullptr) && ok;
  if (add != nullptr) ok = Expect("20 + 22 by the plug-in", add(20, 22) == 42) && ok;
  ok = Expect("what the C library has is not", module.GetSymbol("malloc") == nullptr) && ok;

  module.Unload();
  return Expect("unloaded", !module.IsLoaded()) && ok;
}
