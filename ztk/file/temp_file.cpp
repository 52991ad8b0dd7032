#include "ztk/file/temp_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_text.h"

struct ZTKTempFileLayout {
  static_assert(offsetof(ZTKTempFile, m_targetPath) == 0);
  static_assert(offsetof(ZTKTempFile, m_tempPath) == sizeof(ZTKString));
  static_assert(offsetof(ZTKTempFile, m_file) == 2 * sizeof(ZTKString));
};

namespace {

constexpr unsigned int kNames = 1000;
constexpr unsigned long kMaxTempPath = 1023;
// What a system may take, as long as nothing is said to have fewer.
constexpr size_t kMaxSystemPath = 4095;
constexpr size_t kMaxName = 255;
constexpr size_t kMaxCounter = 3;
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

// The same of a path that is not parsed.
ZTKString AbsoluteSystemPath(const ZTKString& target) {
  const ZTKString path = SystemPath(target);
  if (path.Len() == 0 || path.view().front() == '/') return path;
  ZTKString absolute = ZTKGetCwd();
  if (absolute.Len() == 0) return absolute;
  if (absolute.Last() != '/') absolute.append('/', 1);
  absolute.append(path);
  return absolute;
}

// Whether a commit that promises safety may put a file in the place of what is there.
bool IsReplaceable(const ZTKString& path) {
  switch (XPGetFileKind(path.c_str())) {
    case XPFileKind::kNothing:
    case XPFileKind::kRegular:
      return true;
    case XPFileKind::kUnknown:
      // A link that leads nowhere we know is replaced itself.
      return XPGetOwnFileKind(path.c_str()) == XPFileKind::kOther;
    case XPFileKind::kFolder:
    case XPFileKind::kOther:
      break;
  }
  return false;
}

// The folder in a path of the system.
std::string_view FolderOf(const ZTKString& path) {
  return path.view().substr(0, path.view().rfind('/') + 1);
}

// The prefix of temporary names beside `target`, a path of the system: its whole name as far as the
// counter leaves room.
ZTKString ExactBase(const ZTKString& target) {
  const std::string_view path = target.view();
  const size_t name = FolderOf(target).size();
  size_t end = std::min(path.size(), name + kMaxName - kMaxCounter);
  if (end > kMaxSystemPath - kMaxCounter) {
    end = std::max(name, std::min(end, kMaxSystemPath - kMaxCounter));
  }
  // Not in the middle of a character.
  const auto continues = [&] {
    return end > name && end < path.size() && (path[end] & 0xC0) == 0x80;
  };
  while (continues()) --end;
  return ZTKString(path.substr(0, end));
}

// The first of the names that begin with `base` which nobody has; made as well, and opened, where a
// file is given that is not open.
ZTKString FirstFreeName(const ZTKString& base, ZTKFile* pFile, size_t nMaxLength) {
  ZTKString candidate;
  if (base.Len() == 0) return candidate;
  const bool create = pFile != nullptr && !pFile->IsOpen();
  for (unsigned int n = 0; n < kNames; ++n) {
    char counter[16];
    std::snprintf(counter, sizeof counter, "%.03x", n);
    candidate = base;
    candidate.append(counter);
    // A name that was cut would be another file's.
    const bool whole = candidate.Len() == base.Len() + std::strlen(counter);
    if (!whole || candidate.Len() > nMaxLength) break;

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

}  // namespace

ZTKString ZTKFileName::XPCreateTempFileName(const ZTKString& prefix, ZTKFile* pFile) {
  if (ZTKSlashesMislead(prefix)) return ZTKString();
  return FirstFreeName(ZTKWholePath([&] { return TempNameBase(prefix); }), pFile, kMaxTempPath);
}

ZTKTempFile::ZTKTempFile(const ZTKString& target) { Open(target); }

ZTKTempFile::ZTKTempFile(const ZTKString& target, unsigned int nOptions) : m_nOptions(nOptions) {
  Open(target);
}

ZTKTempFile::ZTKTempFile(const ZTKString& target, unsigned int nOptions, int nPermissions)
    : m_nOptions(nOptions), m_nPermissions(nPermissions) {
  Open(target);
}

ZTKTempFile::~ZTKTempFile() { DiscardFailed(); }

// What is still being written, and what could not be committed.
void ZTKTempFile::DiscardFailed() {
  if (m_file.IsOpen() || (m_outcome == COMMIT_FAILED && m_bDiscardsFailed)) Discard();
}

// "" for none.
ZTKString ZTKTempFile::FindTarget(const ZTKString& target) const {
  const ZTKString path = !Has(TEMP_EXACT_PATH) ? AbsolutePath(target)
                         : Has(kAtOnce)        ? SystemPath(target)
                                               : AbsoluteSystemPath(target);
  if (!Has(TEMP_FOLLOW_LINKS)) return path;
  ZTKString end;
  return XPFindEndOfLinks(path, end) ? end : ZTKString();
}

bool ZTKTempFile::Open(const ZTKString& target) {
  const ZTKString path = ZTKWholePath([&] { return FindTarget(target); });
  DiscardFailed();
  m_targetPath = path;
  m_tempPath.Clear();
  m_outcome = COMMIT_NONE;
  m_bLost = false;
  m_bTargetGone = false;
  if (m_targetPath.Len() == 0 || m_targetPath != path) return false;
  if (!Has(TEMP_EXACT_PATH) && ZTKSlashesMislead(target)) return false;
  if (IsCareful() && !IsReplaceable(SystemPath(path))) return false;

  const ZTKString tempPath =
      Has(TEMP_EXACT_PATH)
          ? FirstFreeName(ZTKWholePath([&] { return ExactBase(path); }), &m_file, kMaxSystemPath)
          : ZTKFileName::XPCreateTempFileName(m_targetPath, &m_file);
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
  // Once for all steps: where a path leads may change from one moment to the next.
  const ZTKString temp = SystemPath(m_tempPath);
  const ZTKString target = SystemPath(m_targetPath);
  // The wrong moment must not cost the target.
  const XPFileKind kind = XPGetOwnFileKind(temp.c_str());
  const bool ranOut = temp.view().empty() && !m_tempPath.view().empty();
  const bool isKnown = kind == XPFileKind::kRegular || kind == XPFileKind::kUnknown || ranOut;
  m_outcome = !isKnown ? COMMIT_NONE : m_bTargetGone ? COMMIT_TARGET_GONE : COMMIT_FAILED;
  m_bDiscardsFailed = IsCareful();
  if (kind != XPFileKind::kRegular) {
    if (!m_file.Close()) m_bLost = true;
    return false;
  }
  const bool saved = Save(temp);  // Before the old version goes: a power cut leaves one of the two.
  if (m_bDiscardsFailed && (FolderOf(temp) != FolderOf(target) || !IsReplaceable(target))) {
    return false;
  }
  bool inPlace = false;
  if (Has(TEMP_KEEP_IDENTITY) && !XPHasOtherNames(target.c_str(), inPlace)) return false;
  if ((inPlace || IsStrict()) && !saved) return false;
  const bool done = inPlace      ? CommitInPlace(temp, target)
                    : IsStrict() ? CommitStrictly(temp, target)
                                 : CommitInSteps(temp, target);
  if (!done) {
    if (m_bTargetGone) m_outcome = COMMIT_TARGET_GONE;
    return false;
  }
  m_outcome = COMMIT_DONE;
  m_tempPath.Clear();
  return true;
}

// Closes the file. Whether all that was written is on the disk.
bool ZTKTempFile::Save(const ZTKString& temp) {
  if (m_file.IsOpen()) {
    // A sync that failed is no better the next time: what could not be written is forgotten then.
    if (!m_file.XPSync() || m_file.HasLostData()) m_bLost = true;
    if (!m_file.Close()) m_bLost = true;
  } else if (!m_bLost) {
    if (m_file.HasError()) m_bLost = true;
    ZTKFile closed(temp.c_str(), ZTKFile::read);
    if (!closed.IsOpen()) return false;
    if (!closed.XPSync()) m_bLost = true;
  }
  return !m_bLost;
}

bool ZTKTempFile::CommitInSteps(const ZTKString& temp, const ZTKString& target) {
  if (ZTKFile::Exists(target.c_str())) {
    if (!ZTKRemoveFile(target)) return false;
    m_bTargetGone = true;
  }
  if (ZTKRenameFile(temp, target)) {
    XPFolder(target.c_str()).Sync();
    return true;
  }

  if (!ZTKCopyFile(temp, target, 1, kPrivate)) return false;
  XPCopyPermissions(temp.c_str(), target.c_str());
  ZTKRemoveFile(temp);
  return true;
}

bool ZTKTempFile::CommitStrictly(const ZTKString& temp, const ZTKString& target) {
  // Opened first: a folder that cannot be synced is a reason not to begin.
  const XPFolder folder(target.c_str());
  if (!folder.IsOpen()) return false;
  const bool renamed =
      Has(kOnlyNew) ? XPRenameToNew(temp.c_str(), target.c_str()) : ZTKRenameFile(temp, target);
  if (!renamed) return false;
  m_bTargetGone = false;
  if (folder.Sync()) return true;
  m_outcome = COMMIT_NOT_DURABLE;
  m_tempPath.Clear();  // It has the target's name now.
  return false;
}

bool ZTKTempFile::CommitInPlace(const ZTKString& temp, const ZTKString& target) {
  bool begun = false;
  if (!XPOverwriteFile(temp.c_str(), target.c_str(), begun)) {
    if (begun) m_bTargetGone = true;
    return false;
  }
  ZTKRemoveFile(temp);
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
