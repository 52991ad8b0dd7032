#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#ifdef _WIN32
#include "tests/support/scoped_code_page_win32.h"
#endif
#include "tests/support/temp_dir.h"

#ifdef _WIN32

/// While it lives, characters are those of ISO-8859-15, which has the euro at 0xA4 and no arrows.
class Latin9Locale {
 public:
  bool IsMade() const { return IsValidCodePage(kCodePage) != 0; }
  bool IsSet() const { return true; }

 private:
  static constexpr UINT kCodePage = 28605;
  const ScopedCodePage m_page{kCodePage};
};

#else

/// The same. No such locale need be installed: the smallest is made in a folder of its own.
class Latin9Locale {
 public:
  Latin9Locale() : m_locales("LOCPATH", m_dir.Path().string().c_str()) {
    WriteWholeFile(m_dir / "source", "LC_CTYPE\ncopy \"en_US\"\nEND LC_CTYPE\n");
    // It warns of the other categories.
    const std::string make = "localedef --no-archive -c -i '" + (m_dir / "source") +
                             "' -f ISO-8859-15 '" + (m_dir / "latin9.ISO-8859-15") +
                             "' >/dev/null 2>&1";
    [[maybe_unused]] const int status = std::system(make.c_str());
    m_isMade = std::filesystem::exists(m_dir / "latin9.ISO-8859-15/LC_CTYPE");
    m_isSet = m_isMade && std::setlocale(LC_CTYPE, "latin9.ISO-8859-15") != nullptr;
  }
  ~Latin9Locale() { std::setlocale(LC_CTYPE, "C"); }
  Latin9Locale(const Latin9Locale&) = delete;
  Latin9Locale& operator=(const Latin9Locale&) = delete;

  /// False where the tool or its sources are not installed.
  bool IsMade() const { return m_isMade; }
  bool IsSet() const { return m_isSet; }

 private:
  TempDir m_dir;
  ScopedEnv m_locales;
  bool m_isMade = false;
  bool m_isSet = false;
};

#endif
