// Nothing: the file name is what a test needs.
extern "C" __attribute__((visibility("default"))) int fake_toolkit() { return 0; }
