#pragma once

#include <windows.h>

/// Makes a code page the system's ANSI code page for the library, until its end: the library is
/// given another answer when it asks for that, and its conversions go there.
class ScopedCodePage {
 public:
  explicit ScopedCodePage(UINT nCodePage);
  ~ScopedCodePage();
  ScopedCodePage(const ScopedCodePage&) = delete;
  ScopedCodePage& operator=(const ScopedCodePage&) = delete;

 private:
  const UINT m_nOld;
};
