#include "tests/support/scoped_preferences.h"

#ifdef _WIN32

#include <windows.h>

namespace {

constexpr wchar_t kFolders[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

}  // namespace

ScopedPreferences::ScopedPreferences(const std::filesystem::path& folder) {
  static unsigned s_count = 0;
  m_keyName = L"Software\\ztk-test-" + std::to_wstring(GetCurrentProcessId()) + L'-' +
              std::to_wstring(++s_count);
  HKEY key = nullptr;
  HKEY folders = nullptr;
  LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, m_keyName.c_str(), 0, nullptr,
                                   REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (status == ERROR_SUCCESS) {
    m_key = key;
    status = RegCreateKeyExW(key, kFolders, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                             nullptr, &folders, nullptr);
  }
  if (status == ERROR_SUCCESS) {
    const std::wstring text = folder.wstring();
    status =
        RegSetValueExW(folders, L"AppData", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(folders);
  }
  if (status == ERROR_SUCCESS) status = RegOverridePredefKey(HKEY_CURRENT_USER, key);
  EXPECT_EQ(status, ERROR_SUCCESS) << "the preferences folder is that of the user";
}

ScopedPreferences::~ScopedPreferences() {
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  if (m_key == nullptr) return;
  RegCloseKey(static_cast<HKEY>(m_key));
  RegDeleteTreeW(HKEY_CURRENT_USER, m_keyName.c_str());
}

#else

ScopedPreferences::ScopedPreferences(const std::filesystem::path& folder)
    : m_env("XDG_CONFIG_HOME", folder.c_str()) {}

ScopedPreferences::~ScopedPreferences() = default;

#endif
