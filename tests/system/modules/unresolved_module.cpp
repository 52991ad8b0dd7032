// A plug-in that cannot be loaded: nobody has the function that it calls.

extern "C" void NoSuchFunctionAnywhere();

extern "C" __attribute__((visibility("default"))) void TestInit();

void TestInit() { NoSuchFunctionAnywhere(); }
