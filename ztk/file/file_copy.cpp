// Copying a file: the plain way, which checks little, and strictly.
#include <memory>
#include <new>

#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr unsigned long kCopyBlock = 4096;
using Block = std::unique_ptr<char[]>;

// Copies the rest of one file to another; checks neither reads nor writes.
bool CopyRest(ZTKFile& from, ZTKFile& to, char* pBlock) noexcept {
  for (;;) {
    const unsigned long got = from.Read(pBlock, kCopyBlock);
    if (from.HasError()) return false;
    if (got == 0) return true;
    to.Write(pBlock, got);
  }
}

}  // namespace

/// Copies to a temporary file beside the target, which replaces it when complete: a
/// failure before that leaves the target unchanged.
class ZTKStrictCopy {
 public:
  static bool Copy(ZTKFile& source, const ZTKString& to, bool bOverwrite, int nPermissions,
                   char* pBlock, ZTKCommitOutcome& outcome) noexcept {
    unsigned int options = TEMP_UNNAMED | TEMP_EXACT_PATH | ZTKTempFile::kAtOnce;
    if (!bOverwrite) options |= ZTKTempFile::kOnlyNew;
    ZTKTempFile target(to, options, nPermissions);
    ZTKFile& file = target.GetFile();
    if (!file.IsOpen()) return false;
    if (!CopyRest(source, file, pBlock) || source.HasReadError()) return false;
    source.Close();  // It may be the target, and not every system replaces an open file.
    const bool done = target.Commit();
    outcome = target.GetOutcome();
    return done;
  }
};

bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite) noexcept {
  return ZTKCopyFile(from, to, bOverwrite, 0666);
}

bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite,
                 int nPermissions) noexcept {
  ZTKCommitOutcome outcome;
  return ZTKCopyFile(from, to, bOverwrite, nPermissions, outcome);
}

bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite, int nPermissions,
                 ZTKCommitOutcome& outcome) noexcept {
  outcome = COMMIT_FAILED;
  const Block block(new (std::nothrow) char[kCopyBlock]);
  if (block == nullptr) return false;
  ZTKFile source(from.c_str(), ZTKFile::read);
  if (!source.IsOpen()) return false;

  const bool exists = ZTKFileExists(to);
  if (exists && bOverwrite == 0) return false;
  if (ZTKFile::ms_strict) {
    return ZTKStrictCopy::Copy(source, to, bOverwrite != 0, nPermissions, block.get(), outcome);
  }
  if (exists) {
    if (!ZTKRemoveFile(to)) return false;
    outcome = COMMIT_TARGET_GONE;
  }
  ZTKFile target;
  if (!target.XPCreate(to.c_str(), bOverwrite != 0, nPermissions)) return false;
  if (!CopyRest(source, target, block.get())) return false;
  outcome = COMMIT_DONE;
  return true;
}
