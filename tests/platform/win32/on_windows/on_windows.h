#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

/// Cases that Wine cannot prove: skipped there, unless ZTK_TRY_ON_WINE is set.
class OnWindows : public testing::Test {
 protected:
  void SetUp() override;
};

/// "8.0"; "" on Windows itself.
std::string WineVersion();

/// The text in UTF-16. All that is tried here is well-formed.
std::wstring Wide(const std::string& utf8);

/// A file as another program has it open; closed at the end of the scope.
class OthersFile {
 public:
  OthersFile(const std::string& path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING)
      : m_handle(CreateFileW(Wide(path).c_str(), access, share, nullptr, disposition, 0, nullptr)) {
    EXPECT_NE(m_handle, INVALID_HANDLE_VALUE) << path << ", error " << GetLastError();
  }
  ~OthersFile() { CloseHandle(m_handle); }
  OthersFile(const OthersFile&) = delete;
  OthersFile& operator=(const OthersFile&) = delete;

  HANDLE Get() const { return m_handle; }
  /// All that is left.
  std::string Read() const;
  void Write(const std::string& text) const;

 private:
  HANDLE m_handle;
};
