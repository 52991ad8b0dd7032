// A plug-in whose init function loads another one, which a static object of it holds: that one goes
// when this one is unloaded.

#include "ztk/system/module.h"

namespace {

ZTKModule s_other;

}  // namespace

extern "C" __attribute__((visibility("default"))) void LoadAnother();

void LoadAnother() {
  s_other.SetInitCleanupName("TestInit", "TestCleanup");
  s_other.Load("libztk_test_module.so");
}
