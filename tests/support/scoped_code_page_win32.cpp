#include "tests/support/scoped_code_page_win32.h"

#include <iterator>

#include "tests/support/imports_win32.h"

namespace {

UINT s_codePage = CP_ACP;  // What stands for the system's.

UINT(WINAPI* s_getCodePage)();
BOOL(WINAPI* s_isLeadByte)(BYTE);
int(WINAPI* s_toWide)(UINT, DWORD, LPCCH, int, LPWSTR, int);
int(WINAPI* s_toBytes)(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL);

UINT Meant(UINT codePage) { return codePage == CP_ACP ? s_codePage : codePage; }

UINT WINAPI GetCodePage() { return s_codePage != CP_ACP ? s_codePage : s_getCodePage(); }

BOOL WINAPI IsLeadByte(BYTE byte) {
  return s_codePage != CP_ACP ? IsDBCSLeadByteEx(s_codePage, byte) : s_isLeadByte(byte);
}

int WINAPI ToWide(UINT codePage, DWORD flags, LPCCH bytes, int size, LPWSTR wide, int units) {
  return s_toWide(Meant(codePage), flags, bytes, size, wide, units);
}

int WINAPI ToBytes(UINT codePage, DWORD flags, LPCWCH wide, int units, LPSTR bytes, int size,
                   LPCCH other, LPBOOL used) {
  return s_toBytes(Meant(codePage), flags, wide, units, bytes, size, other, used);
}

}  // namespace

ScopedCodePage::ScopedCodePage(UINT nCodePage) : m_nOld(s_codePage) {
  static const imports::Replacement kReplacements[] = {
      imports::Replace("GetACP", &GetCodePage, &s_getCodePage),
      imports::Replace("IsDBCSLeadByte", &IsLeadByte, &s_isLeadByte),
      imports::Replace("MultiByteToWideChar", &ToWide, &s_toWide),
      imports::Replace("WideCharToMultiByte", &ToBytes, &s_toBytes),
  };
  imports::ReplaceIn(imports::LibraryModule(), kReplacements, std::size(kReplacements));
  s_codePage = nCodePage;
}

ScopedCodePage::~ScopedCodePage() { s_codePage = m_nOld; }
