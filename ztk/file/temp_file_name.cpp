// The names of temporary files.
#include "ztk/file/internal/temp_names.h"

#include <algorithm>
#include <new>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr size_t kCounterLength = 3;

// The folder and base name of `prefix`, to which the counter is appended.
ZTKString ParsedBase(const ZTKString& prefix) {
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

ZTKString ExactBase(const ZTKString& target) {
  const std::string_view path = target.view();
  const size_t name = ZTKFolderIn(target).size();
  size_t end = std::min(path.size(), name + ZTKPathLimit::kName - kCounterLength);
  end = std::max(name, std::min(end, ZTKPathLimit::kSystemPath - kCounterLength));
  // Not in the middle of a character.
  const auto continues = [&] {
    return end > name && end < path.size() && (path[end] & 0xC0) == 0x80;
  };
  while (continues()) --end;
  return ZTKString(path.substr(0, end));
}

}  // namespace

ZTKTempNames ZTKTempNames::Parsed(const ZTKString& target) {
  ZTKTempNames names = {ZTKString(), ZTKPathLimit::kPath};
  if (!ZTKSlashesMislead(target)) names.base = ZTKWholePath([&] { return ParsedBase(target); });
  return names;
}

ZTKTempNames ZTKTempNames::Exact(const ZTKString& target) {
  return {ZTKWholePath([&] { return ExactBase(target); }), ZTKPathLimit::kSystemPath};
}

ZTKString ZTKTempNames::FindFree() const {
  return First([](const ZTKString& name, bool& taken) {
    taken = ZTKFile::Exists(name.c_str());
    return !taken;
  });
}

ZTKString ZTKTempNames::Create(ZTKFile& file) const {
  return First([&](const ZTKString& name, bool& taken) {
    return file.XPCreateExclusive(name.c_str(), kPrivate, taken);
  });
}

ZTKString ZTKFileName::XPCreateTempFileName(const ZTKString& prefix, ZTKFile* pFile) {
  const ZTKTempNames names = ZTKTempNames::Parsed(prefix);
  return pFile != nullptr && !pFile->IsOpen() ? names.Create(*pFile) : names.FindFree();
}

bool ZTKGetEmptyFilePath(char** ppOut, const char* pszExt) {
  if (pszExt == nullptr) pszExt = "";
  ZTKString folder;
  if (!folder.Alloc(ZTKPathLimit::kConverted + 1)) return false;
  folder.append(XPGetTempFolder());
  if (!ZTKEndsWithPathSeparator(folder.c_str())) folder.append(XPGetNativeSeparator(), 1);

  const size_t size = folder.Len() + std::strlen(pszExt) + 16;
  char* path = new (std::nothrow) char[size];
  if (path == nullptr) return false;
  for (unsigned int n = 0; n < 1000; ++n) {
    std::snprintf(path, size, "%sztk%u.%s", folder.c_str(), n, pszExt);
    if (!ZTKFile::Exists(path)) {
      *ppOut = path;
      return true;
    }
  }
  delete[] path;
  return false;
}
