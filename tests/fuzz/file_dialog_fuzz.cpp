// Filter texts against a model that is written with nothing but find and substr.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ztk/system/file_dialog.h"

namespace {

std::string Upper(std::string text) {
  for (char& ch : text) {
    if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 32);
  }
  return text;
}

std::vector<std::pair<std::string, std::string>> Model(std::string text) {
  std::vector<std::pair<std::string, std::string>> filters;
  if (!text.empty()) text.pop_back();
  while (true) {
    const size_t bar = text.find('|');
    if (bar == std::string::npos || bar == 0) return filters;
    const size_t end = text.find('|', bar + 1);
    const std::string description = text.substr(0, bar);
    const bool last = end == std::string::npos;
    filters.emplace_back(description,
                         Upper(last ? text.substr(bar + 1) : text.substr(bar + 1, end - bar - 1)));
    if (last) return filters;
    text = text.substr(end + 1);
  }
}

bool ModelShows(std::string list, const std::string& path) {
  const size_t dot = path.rfind('.');
  const size_t slash = path.rfind('/');
  const bool has = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string extension = Upper(has ? path.substr(dot + 1) : "");
  while (!list.empty()) {
    const size_t end = list.find(';');
    std::string item = list.substr(0, end);
    list = end == std::string::npos ? "" : list.substr(end + 1);
    if (item.starts_with('*')) item = item.substr(1);
    if (item.starts_with('.')) item = item.substr(1);
    if (item == "*" || (!item.empty() && item == extension)) return true;
  }
  return false;
}

void Expect(bool held) {
  if (!held) std::abort();
}

}  // namespace

// The input is a path, a NUL and a filter text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  const std::string path = input.substr(0, nul);
  const std::string text =
      nul == std::string::npos ? "" : std::string(input.substr(nul + 1).c_str());

  OpenUserDataRec rec;
  ZTKStringArray descriptions;
  ParseExtension(text.c_str(), descriptions, rec.patterns);
  const auto model = Model(text);
  Expect(descriptions.GetCount() == model.size() && rec.patterns.GetCount() == model.size());

  for (unsigned long i = 0; i < model.size(); ++i) {
    Expect(descriptions.Item(i).view() == model[i].first);
    Expect(rec.patterns.Item(i).view() == model[i].second);
    rec.nFilter = static_cast<int32_t>(i);
    ZTKString file(path.c_str());
    Expect(CheckFile(file, &rec) == ModelShows(model[i].second, path));
    Expect(file.view() == path);

    rec.bSave = 1;
    if (ZTKChooseFilter(rec, i, file)) Expect(file.Find('.', 1) >= 0);
    Expect(rec.patterns.Item(i).view() == model[i].second);
  }
  return 0;
}
