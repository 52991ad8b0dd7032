#include "ztk/file/file_system.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <new>

#include "ztk/file/file.h"
#include "ztk/file/temp_file.h"
#include "ztk/platform/layer.h"

namespace {

// The longest path that is looked at, in characters.
constexpr unsigned long kMaxPath = 1023;

ZTKString SystemPath(const ZTKString& path) noexcept { return XPMacPathToCompName(path.c_str()); }

constexpr unsigned long kCopyBlock = 4096;

// Copies the rest of one file to another and checks neither: the described way.
bool CopyRest(ZTKFile& from, ZTKFile& to) noexcept {
  std::array<char, kCopyBlock> block;
  for (;;) {
    const unsigned long got = from.Read(block.data(), block.size());
    if (from.HasError()) return false;
    if (got == 0) return true;
    to.Write(block.data(), got);
  }
}

bool CopyRestChecked(ZTKFile& from, ZTKFile& to) noexcept {
  return CopyRest(from, to) && !from.HasReadError() && !to.HasError();
}

// Whatever goes wrong, the target stays what it was.
bool CopyStrictly(ZTKFile& source, const ZTKString& to, bool bOverwrite,
                  int nPermissions) noexcept {
  if (bOverwrite) {
    ZTKTempFile target(to);
    if (!target.GetFile().IsOpen()) return false;
    if (CopyRestChecked(source, target.GetFile()) && target.Commit()) return true;
    target.Discard();
    return false;
  }
  ZTKFile target;
  if (!target.XPCreate(to.c_str(), false, nPermissions)) return false;
  const bool complete = CopyRestChecked(source, target) && target.XPSync();
  if (target.Close() && complete) return true;
  ZTKRemoveFile(to);
  return false;
}

}  // namespace

bool ZTKFileExists(const ZTKString& path) noexcept { return XPCanRead(SystemPath(path).c_str()); }

bool ZTKPathExists(const ZTKString& path) noexcept {
  const unsigned long length = path.Len();
  if (length == 0 || length > kMaxPath) return false;
  return XPPathExists(path.c_str());
}

bool ZTKSetWorkingDirectory(const ZTKString& dir) noexcept {
  return XPChangeFolder(SystemPath(dir).c_str());
}

char* ZTKGetWorkingDirectory(char* pszBuf, int nSize) noexcept {
  const size_t size = nSize > 0 ? static_cast<size_t>(nSize) : 0;
  if (pszBuf == nullptr) {
    pszBuf = new (std::nothrow) char[size + 1];
    if (pszBuf == nullptr) return nullptr;
    pszBuf[0] = '\0';
  }
  if (size > 0 && !XPGetFolder(pszBuf, size)) pszBuf[0] = '\0';
  return pszBuf;
}

ZTKString ZTKGetCwd() noexcept {
  std::array<char, kMaxPath + 1> buffer{};
  return ZTKString(ZTKGetWorkingDirectory(buffer.data(), static_cast<int>(buffer.size())));
}

bool ZTKRmdir(const ZTKString& dir) noexcept { return XPRemoveFolder(SystemPath(dir).c_str()); }

bool ZTKMkdir(const ZTKString& dir, unsigned long nPermissions) noexcept {
  return XPMakeFolder(SystemPath(dir).c_str(), nPermissions);
}

bool ZTKRenameFile(const ZTKString& from, const ZTKString& to) noexcept {
  return std::rename(SystemPath(from).c_str(), SystemPath(to).c_str()) == 0;
}

bool ZTKRemoveFile(const ZTKString& path) noexcept {
  return std::remove(SystemPath(path).c_str()) == 0;
}

bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite) noexcept {
  return ZTKCopyFile(from, to, bOverwrite, 0666);
}

bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite,
                 int nPermissions) noexcept {
  ZTKFile source(from.c_str(), ZTKFile::read);
  if (!source.IsOpen()) return false;

  const bool exists = ZTKFileExists(to);
  if (exists && bOverwrite == 0) return false;
  if (ZTKFile::ms_strict) return CopyStrictly(source, to, bOverwrite != 0, nPermissions);

  if (exists && !ZTKRemoveFile(to)) return false;
  ZTKFile target;
  if (!target.XPCreate(to.c_str(), bOverwrite != 0, nPermissions)) return false;
  return CopyRest(source, target);
}

const char* ZTKGetUserHome(const ZTKString& user) noexcept {
  static std::array<char, 4096> s_home;
  return XPFindHome(user.c_str(), s_home.data(), s_home.size()) ? s_home.data() : ".";
}

bool ZTKIsPathSeparator(char ch) noexcept { return ch == '/' || ch == ':' || ch == '\\'; }

bool ZTKEndsWithPathSeparator(const char* psz) noexcept {
  if (psz == nullptr || *psz == '\0') return false;
  return ZTKIsPathSeparator(psz[std::strlen(psz) - 1]);
}

ZTKString ZTKFindFirstFile(const char*, unsigned long) noexcept { return ZTKString(); }

ZTKString ZTKFindNextFile() noexcept { return ZTKString(); }
