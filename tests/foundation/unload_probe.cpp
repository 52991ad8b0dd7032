// Loads a module that uses the library, and with it the library, and unloads both, many times:
// unload_probe MODULE LIBRARY. Says "passed", or what was left behind.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

// More often than there are keys of the thread library.
constexpr int kRounds = 1500;
constexpr int kWarmUp = 200;

long ResidentBytes() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

long CountEntries(const char* pszFolder) {
  return std::distance(std::filesystem::directory_iterator(pszFolder), {});
}

long CountMappings() {
  std::ifstream maps("/proc/self/maps");
  return static_cast<long>(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'));
}

bool IsMapped(const char* pszLibrary) {
  const std::string path = std::filesystem::canonical(pszLibrary);
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(path) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  long memory = 0, descriptors = 0, mappings = 0;
  for (int round = 0; round <= kRounds; ++round) {
    if (round == kWarmUp) {
      memory = ResidentBytes();
      descriptors = CountEntries("/proc/self/fd");
      mappings = CountMappings();
    }
    if (round == kRounds) break;
    void* const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    void* const use = module ? dlsym(module, "UseLists") : nullptr;
    if (!use) {
      std::printf("round %d: %s\n", round, dlerror());
      return 1;
    }
    reinterpret_cast<void (*)()>(use)();
    dlclose(module);
    if (IsMapped(argv[2])) {
      std::puts("the library stays loaded");
      return 1;
    }
  }
  const long moreMemory = ResidentBytes() - memory;
  const long moreDescriptors = CountEntries("/proc/self/fd") - descriptors;
  const long moreMappings = CountMappings() - mappings;
  const bool passed = moreMemory < kRounds * 512L && moreDescriptors == 0 && moreMappings < 8;
  std::printf("%s: %ld bytes, %ld descriptors and %ld mappings more\n", passed ? "passed" : "leaks",
              moreMemory, moreDescriptors, moreMappings);
  return passed ? 0 : 1;
}
