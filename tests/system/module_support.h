#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"
#include "ztk/system/module.h"

// What the tests of modules share.

inline std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// Where modules are looked for: in the folder of the program, or around its package where paths
/// have colons.
inline std::filesystem::path ModuleFolder() {
  const std::filesystem::path folder = ProgramFolder();
  const bool isPackage = ZTKFileName::XPGetFormat(ZTKPathNative) == ZTKPathMac;
  return isPackage ? folder.parent_path().parent_path().parent_path() : folder;
}

/// The address of a function as what it is.
template <class Function>
Function* As(void* address) {
  Function* function = nullptr;
  std::memcpy(&function, &address, sizeof function);
  return function;
}

inline int Add(const ZTKModule& module, int a, int b) {
  void* const address = module.GetSymbol("TestAdd");
  return address != nullptr ? As<int(int, int)>(address)(a, b) : -1;
}

/// Whether a library of the folder of modules is in the process, without loading it.
inline bool InProcess(const std::string& file) {
  void* const handle = dlopen((ModuleFolder() / file).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

/// Unloads what a module gave away.
inline void UnloadHandle(void* pHandle) {
  ZTKModule module;
  module.Attach(pHandle);
  module.Unload();
}

/// Loads a module in a process of its own, and gives what that ends with.
inline int RunProbe(const std::string& program, const std::string& name) {
  const int status = std::system((program + " " + name + " 2>/dev/null").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ZTKModuleTest : public ::testing::Test {
 protected:
  // What the init and clean-up functions of the test modules wrote so far.
  static std::string Calls() {
    const char* const log = std::getenv("ZTK_TEST_MODULE_LOG");
    return log != nullptr ? log : "";
  }

  // What a failing load writes to the standard error stream.
  static std::string FailingLoad(const ZTKString& name) {
    ZTKModule module;
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(module.Load(name));
    EXPECT_FALSE(module.IsLoaded());
    EXPECT_EQ(module.GetLibHandle(), nullptr);
    return ::testing::internal::GetCapturedStderr();
  }

  ScopedEnv m_log{"ZTK_TEST_MODULE_LOG", nullptr};
};
