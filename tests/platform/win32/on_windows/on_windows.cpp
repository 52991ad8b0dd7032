#include "tests/platform/win32/on_windows/on_windows.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::string SystemName() {
  const std::string wine = WineVersion();
  if (!wine.empty()) return "Wine " + wine + ", and not Windows";
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
  GetVersion getVersion = nullptr;
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
  std::memcpy(&getVersion, &found, sizeof getVersion);
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  if (getVersion == nullptr || getVersion(&version) != 0) return "Windows";
  return "Windows " + std::to_string(version.dwMajorVersion) + '.' +
         std::to_string(version.dwMinorVersion) + '.' + std::to_string(version.dwBuildNumber);
}

// Says at both ends of the report what it is a report of.
class Report : public testing::EmptyTestEventListener {
  void OnTestProgramStart(const testing::UnitTest& /*all*/) override {
    std::printf("This is %s.\n", SystemName().c_str());
  }
  void OnTestProgramEnd(const testing::UnitTest& all) override {
    std::printf("RESULT on %s: %d passed, %d failed, %d skipped\n", SystemName().c_str(),
                all.successful_test_count(), all.failed_test_count(), all.skipped_test_count());
    if (!WineVersion().empty()) {
      std::printf("Nothing is proven: run this on Windows itself.\n");
    }
    std::fflush(stdout);
  }
};

const bool s_isListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new Report);
  return true;
}();

}  // namespace

std::string WineVersion() {
  using GetVersion = const char*(__cdecl*)();
  GetVersion getVersion = nullptr;
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
  std::memcpy(&getVersion, &found, sizeof getVersion);
  return getVersion != nullptr ? getVersion() : "";
}

void OnWindows::SetUp() {
  if (!WineVersion().empty() && std::getenv("ZTK_TRY_ON_WINE") == nullptr) {
    GTEST_SKIP() << "this is Wine";
  }
}

std::wstring Wide(const std::string& utf8) {
  const auto length = static_cast<int>(utf8.size());
  std::wstring wide(
      static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string OthersFile::Read() const {
  std::string text;
  char block[4096];
  DWORD count = 0;
  while (ReadFile(m_handle, block, sizeof block, &count, nullptr) != 0 && count != 0) {
    text.append(block, count);
  }
  return text;
}

void OthersFile::Write(const std::string& text) const {
  DWORD count = 0;
  EXPECT_NE(WriteFile(m_handle, text.data(), static_cast<DWORD>(text.size()), &count, nullptr), 0);
  EXPECT_EQ(count, text.size());
}
