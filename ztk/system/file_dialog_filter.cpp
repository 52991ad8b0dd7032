#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "ztk/file/file_system.h"
#include "ztk/foundation/word.h"
#include "ztk/system/file_dialog.h"

namespace {

// ASCII only: patterns and paths are UTF-8 or anything else, and a locale that knows more letters
// would tear their bytes apart.
char UpperAscii(char ch) { return ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 'a' + 'A') : ch; }
char LowerAscii(char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; }

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (UpperAscii(a[i]) != UpperAscii(b[i])) return false;
  }
  return true;
}

// The first item of `list`, which loses it and the ';' behind it.
std::string_view ConsumeExtension(std::string_view& list) {
  const size_t end = list.find(';');
  std::string_view item = list.substr(0, end);
  list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
  if (!item.empty() && item.front() == '*') item.remove_prefix(1);
  if (!item.empty() && item.front() == '.') item.remove_prefix(1);
  return item;
}

std::string_view ExtensionOf(std::string_view path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return {};
  const size_t separator = path.rfind(XPGetNativeSeparator());
  if (separator != std::string_view::npos && separator > dot) return {};
  return path.substr(dot + 1);
}

}  // namespace

void ParseExtension(const char* pszWildcard, ZTKStringArray& descriptions,
                    ZTKStringArray& patterns) {
  const size_t length = pszWildcard != nullptr ? std::strlen(pszWildcard) : 0;
  if (length == 0) return;
  const std::unique_ptr<char[]> copy(new (std::nothrow) char[length]);
  if (copy == nullptr) return;
  // The limit counts the NUL, so the last character stays behind. Filter texts have come to rely on
  // it: they end in "|".
  _lstrcpyn(copy.get(), pszWildcard, ZTKCountOf(length));

  std::string_view rest(copy.get());
  while (true) {
    const size_t bar = rest.find('|');
    if (bar == std::string_view::npos || bar == 0) return;
    const ZTKString description(rest.substr(0, bar));
    rest.remove_prefix(bar + 1);

    const size_t end = rest.find('|');
    ZTKString list(rest.substr(0, end));
    for (unsigned long i = 0, n = list.Len(); i < n; ++i) list[i] = UpperAscii(list[i]);
    descriptions.Add(description, 1);
    patterns.Add(list, 1);
    if (end == std::string_view::npos) return;
    rest.remove_prefix(end + 1);
  }
}

ZTKString ExtractExtension(ZTKString& patterns) {
  std::string_view list = patterns.view();
  const size_t before = list.size();
  ZTKString extension(ConsumeExtension(list));
  patterns.erase(0, static_cast<unsigned long>(before - list.size()));
  return extension;
}

bool CheckFile(ZTKString& path, const OpenUserDataRec* pRec) {
  if (pRec == nullptr || pRec->patterns.GetCount() == 0) return true;
  const bool valid =
      pRec->nFilter >= 0 && static_cast<unsigned long>(pRec->nFilter) < pRec->patterns.GetCount();
  const auto selected = static_cast<unsigned long>(valid ? pRec->nFilter : 0);

  const std::string_view extension = ExtensionOf(path.view());
  // A view of the list is used up here, not the list: it serves every file of the folder.
  std::string_view list = pRec->patterns.Item(selected).view();
  while (!list.empty()) {
    const std::string_view item = ConsumeExtension(list);
    if (item == "*") return true;
    if (!item.empty() && EqualNoCase(item, extension)) return true;
  }
  return false;
}

bool ZTKChooseFilter(OpenUserDataRec& rec, unsigned long nIndex, ZTKString& saveName) {
  if (nIndex >= rec.patterns.GetCount()) return false;
  rec.nFilter = static_cast<int32_t>(nIndex);
  if (rec.bSave == 0) return false;

  ZTKString list = rec.patterns.Item(nIndex);
  ZTKString extension = ExtractExtension(list);
  if (extension.Len() == 0 || extension.IsSameAs("*", 1)) return false;
  for (unsigned long i = 0, n = extension.Len(); i < n; ++i) {
    extension[i] = LowerAscii(extension[i]);
  }

  const long dot = saveName.Find('.', 1);
  if (dot > 0) saveName.Truncate(static_cast<unsigned long>(dot));
  saveName.append('.', 1).append(extension);
  return true;
}
