#include "ztk/file/temp_file.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/platform/layer.h"

struct ZTKTempFileLayout {
  static_assert(offsetof(ZTKTempFile, m_targetPath) == 0);
  static_assert(offsetof(ZTKTempFile, m_tempPath) == sizeof(ZTKString));
  static_assert(offsetof(ZTKTempFile, m_file) == 2 * sizeof(ZTKString));
};

namespace {

constexpr unsigned int kNames = 1000;
constexpr unsigned long kMaxTempPath = 1023;
// Until it is given the target's permissions, a temporary file is its owner's alone.
constexpr int kPrivate = 0600;

ZTKString SystemPath(const ZTKString& path) { return XPMacPathToCompName(path.c_str()); }

// The folder and base name of `prefix`, to which the counter is appended.
ZTKString TempNameBase(const ZTKString& prefix) {
  ZTKString base;
  ZTKString name;
  ZTKFileName::SplitPath(prefix, &base, &name, nullptr, ZTKPathNative);
  if (base.Len() == 0) base = XPGetTempFolder();
  if (!ZTKEndsWithPathSeparator(base.c_str()) && !ZTKIsPathSeparator(*name.c_str())) {
    base.append(XPGetNativeSeparator(), 1);
  }
  base.append(name);
  return base;
}

// The absolute path of a target, "" when it is relative and there is no working directory: it would
// silently become a path below the root.
ZTKString AbsolutePath(const ZTKString& target) {
  ZTKFileName name(target, ZTKPathNative);
  if (!name.IsAbsolute(ZTKPathNative)) {
    if (ZTKGetCwd().Len() == 0) return ZTKString();
    name.XPNormalize(ZTKNormAbsolute, "", ZTKPathNative);
  }
  return name.GetFullPath(ZTKPathNative);
}

// What a path leads to when it is a link; else the path itself.
ZTKString EndOfLinks(const ZTKString& path) {
  ZTKString end;
  const bool found = ZTKFileName().XPGetShortcutTarget(path, end, nullptr);
  return found && end.Len() != 0 ? end : path;
}

}  // namespace

ZTKString ZTKFileName::XPCreateTempFileName(const ZTKString& prefix, ZTKFile* pFile) {
  ZTKString candidate;
  const ZTKString base = ZTKWholePath([&] { return TempNameBase(prefix); });
  if (base.Len() == 0) return candidate;

  const bool create = pFile != nullptr && !pFile->IsOpen();
  for (unsigned int n = 0; n < kNames; ++n) {
    char counter[16];
    std::snprintf(counter, sizeof counter, "%.03x", n);
    candidate = base;
    candidate.append(counter);
    // A name that was cut would be another file's.
    const bool whole = candidate.Len() == base.Len() + std::strlen(counter);
    if (!whole || candidate.Len() > kMaxTempPath) break;

    if (!create) {
      if (!ZTKFile::Exists(candidate.c_str())) return candidate;
      continue;
    }
    bool taken = false;
    if (pFile->XPCreateExclusive(candidate.c_str(), kPrivate, taken)) return candidate;
    if (!taken) break;
  }
  candidate.Clear();
  return candidate;
}

ZTKTempFile::ZTKTempFile(const ZTKString& target) { Open(target); }

ZTKTempFile::ZTKTempFile(const ZTKString& target, unsigned int nOptions) : m_nOptions(nOptions) {
  Open(target);
}

ZTKTempFile::~ZTKTempFile() {
  if (m_file.IsOpen()) Discard();
}

bool ZTKTempFile::Open(const ZTKString& target) {
  const ZTKString path = ZTKWholePath([&] {
    const ZTKString absolute = AbsolutePath(target);
    return Has(TEMP_FOLLOW_LINKS) ? EndOfLinks(absolute) : absolute;
  });
  if (m_file.IsOpen()) Discard();
  m_targetPath = path;
  m_tempPath.Clear();
  m_outcome = COMMIT_NONE;
  if (m_targetPath.Len() == 0 || m_targetPath != path) return false;

  const ZTKString tempPath = ZTKFileName::XPCreateTempFileName(m_targetPath, &m_file);
  m_tempPath = tempPath;
  if (m_tempPath != tempPath) {  // Out of memory.
    m_file.Close();
    ZTKRemoveFile(tempPath);
    m_tempPath.Clear();
  }
  XPChangePermissions();
  return m_tempPath.Len() != 0;
}

bool ZTKTempFile::Commit() {
  // The wrong moment must not cost the target.
  if (m_tempPath.Len() == 0 || !XPIsPlainFile(SystemPath(m_tempPath).c_str())) {
    m_file.Close();
    m_outcome = COMMIT_NONE;
    return false;
  }

  // Synced before the old version goes, so that a power cut leaves one of the two.
  bool saved = false;
  if (m_file.IsOpen()) {
    saved = m_file.XPSync() && !m_file.HasLostData();
    saved = m_file.Close() && saved;
  } else {
    ZTKFile closed(m_tempPath.c_str(), ZTKFile::read);
    saved = closed.IsOpen() && closed.XPSync() && !m_file.HasError();
  }
  const bool inPlace = Has(TEMP_KEEP_IDENTITY) && XPHasOtherNames(SystemPath(m_targetPath).c_str());
  const bool isStrict = ZTKFile::ms_strict || Has(TEMP_ONE_STEP);
  m_outcome = COMMIT_FAILED;
  const bool done = inPlace    ? CommitInPlace(saved)
                    : isStrict ? CommitStrictly(saved)
                               : CommitInSteps();
  if (!done) return false;
  m_outcome = COMMIT_DONE;
  m_tempPath.Clear();
  return true;
}

bool ZTKTempFile::CommitInSteps() {
  if (ZTKFile::Exists(m_targetPath.c_str())) {
    if (!ZTKRemoveFile(m_targetPath)) return false;
    m_outcome = COMMIT_TARGET_GONE;
  }
  if (ZTKRenameFile(m_tempPath, m_targetPath)) {
    XPFolder(SystemPath(m_targetPath).c_str()).Sync();
    return true;
  }

  if (!ZTKCopyFile(m_tempPath, m_targetPath, 1, kPrivate)) return false;
  XPCopyPermissions(SystemPath(m_tempPath).c_str(), SystemPath(m_targetPath).c_str());
  ZTKRemoveFile(m_tempPath);
  return true;
}

bool ZTKTempFile::CommitStrictly(bool bSaved) {
  if (!bSaved) return false;
  // Opened first: a folder that cannot be synced is a reason not to begin.
  const XPFolder folder(SystemPath(m_targetPath).c_str());
  if (!folder.IsOpen() || !ZTKRenameFile(m_tempPath, m_targetPath)) return false;
  if (folder.Sync()) return true;
  m_outcome = COMMIT_NOT_DURABLE;
  m_tempPath.Clear();  // It has the target's name now.
  return false;
}

bool ZTKTempFile::CommitInPlace(bool bSaved) {
  if (!bSaved) return false;
  if (!XPOverwriteFile(SystemPath(m_tempPath).c_str(), SystemPath(m_targetPath).c_str())) {
    return false;
  }
  ZTKRemoveFile(m_tempPath);
  return true;
}

bool ZTKTempFile::Discard() {
  m_file.Close();
  const bool removed = m_tempPath.Len() != 0 && ZTKRemoveFile(m_tempPath);
  m_tempPath.Clear();
  return removed;
}

bool ZTKGetEmptyFilePath(char** ppOut, const char* pszExt) {
  if (pszExt == nullptr) pszExt = "";
  ZTKString folder;
  if (!folder.Alloc(1025)) return false;
  folder.append(XPGetTempFolder());
  if (!ZTKEndsWithPathSeparator(folder.c_str())) folder.append(XPGetNativeSeparator(), 1);

  const size_t size = folder.Len() + std::strlen(pszExt) + 16;
  char* path = new (std::nothrow) char[size];
  if (path == nullptr) return false;
  for (unsigned int n = 0; n < kNames; ++n) {
    std::snprintf(path, size, "%sztk%u.%s", folder.c_str(), n, pszExt);
    if (!ZTKFile::Exists(path)) {
      *ppOut = path;
      return true;
    }
  }
  delete[] path;
  return false;
}
