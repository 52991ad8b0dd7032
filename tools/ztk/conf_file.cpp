#include "tools/ztk/conf_file.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"
#include "tools/ztk/input.h"
#include "tools/ztk/progress.h"
#include "tools/ztk/text_convert.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"

namespace {

constexpr std::string_view kExtension = ".conf";
constexpr std::string_view kBlanks = " \t\r\n\v\f";

bool IsSeparator(char ch) { return ZTKFileName::IsPathSeparator(ch, ZTKPathNative); }

// Of an absolute path, without a separator at its end but for that of a root.
std::string FolderOf(const std::string& path) {
  const auto nameStart = std::find_if(path.rbegin(), path.rend(), IsSeparator).base();
  const std::string folder(path.begin(), nameStart);
  const bool isRoot = folder.size() == 1 || folder[folder.size() - 2] == ':';
  return isRoot ? folder : folder.substr(0, folder.size() - 1);
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

ZTKString Ztk(const std::string& text) { return ZTKString(text.c_str()); }

bool IsTrimmed(std::string_view text) {
  return text.empty() || (kBlanks.find(text.front()) == std::string_view::npos &&
                          kBlanks.find(text.back()) == std::string_view::npos);
}

// "a//b/" has the parts "a", "b" and "", a name that no group has.
std::vector<std::string> PartsOf(std::string_view group) {
  std::vector<std::string> parts;
  while (!group.empty()) {
    const size_t end = std::min(group.find('/'), group.size());
    parts.emplace_back(group.substr(0, end));
    const size_t next = std::min(group.find_first_not_of('/', end), group.size());
    if (next == group.size() && end != next) parts.emplace_back();
    group.remove_prefix(next);
  }
  return parts;
}

// The file has no quoting: what these refuse would be read back as something else.
void RefuseKey(const std::string& key) {
  if (key.empty() || key.find_first_of("=\r\n") != std::string::npos ||
      std::string_view("[;#").find(key.front()) != std::string_view::npos || !IsTrimmed(key)) {
    throw Failure(kUsage,
                  "\"" + key +
                      "\" cannot be a key: it is empty, has a blank at an end, a line break "
                      "or \"=\" in it, or begins with one of [ ; #");
  }
}

void RefuseValue(const std::string& value) {
  if (value.find_first_of("\r\n") != std::string::npos || !IsTrimmed(value)) {
    throw Failure(
        kUsage,
        "\"" + value + "\" cannot be a value: it has a line break in it or a blank at an end");
  }
}

void RefuseGroup(const std::string& group) {
  bool isBad =
      group.empty() || group.front() == '/' || group.find_first_of("]\r\n") != std::string::npos;
  for (const std::string& part : PartsOf(group)) {
    isBad = isBad || part == "." || part == ".." || !IsTrimmed(part);
  }
  if (isBad) {
    throw Failure(kUsage, "\"" + group +
                              "\" cannot be a group: write it as a header does, such as "
                              "Painter/Window");
  }
}

}  // namespace

ConfFile::ConfFile(const std::string& name, Missing missing) {
  const bool isPath =
      std::any_of(name.begin(), name.end(), IsSeparator) || EndsWith(name, kExtension);
  if (isPath) {
    if (!EndsWith(name, kExtension)) {
      throw Failure(kUsage, name + ": the name of a configuration's file ends in .conf");
    }
    m_path = AbsolutePath(name);
    const std::string folder = FolderOf(m_path);
    if (KindOf(folder) != FileKind::kFolder) throw Failure(kFailed, folder + ": no such folder");
  } else {
    const ZTKString folder = ZTKFileName::XPGetUserHomeDir();
    m_path = std::string(folder.view()) + XPGetNativeSeparator() + name + std::string(kExtension);
  }

  // Opening a configuration would create the file, or take one that cannot be read for empty.
  const FileKind kind = KindOf(m_path);
  if (kind != FileKind::kMissing) {
    // Asked before it is opened: a pipe would wait for somebody who writes.
    if (kind != FileKind::kRegular) throw Failure(kFailed, m_path + ": no regular file");
    Input input(m_path);
    if (!ScanText(input).IsLossless()) throw Failure(kNo, m_path + ": this is no text");
  } else if (missing == Missing::kRefuse) {
    throw Failure(kNo, m_path + ": no such configuration");
  }
  // What the user wrote beside the settings stays. Programs that share the file through a lock have
  // made one; where there is none, none is left behind.
  unsigned int nOptions = CONF_ALL & ~CONF_MERGE;
  if (isPath) nOptions |= CONF_EXACT_PATH;
  if (KindOf(m_path + ".lock") != FileKind::kMissing) nOptions |= CONF_MERGE;
  m_config = std::make_unique<ZTKFileConfig>(ZTKString(), Ztk(isPath ? m_path : name), nOptions);
}

void ConfFile::VisitGroup(const std::string& group, const Visit& visit) {
  m_config->SetPath(Ztk("/" + group));
  std::vector<std::string> below;
  ZTKString name;
  for (unsigned long i = 0; m_config->GetEntry(name, i); ++i) {
    ZTKString value;
    m_config->Read(name, value);
    visit(group, std::string(name.view()), std::string(value.view()));
  }
  for (unsigned long i = 0; m_config->GetGroup(name, i); ++i) below.emplace_back(name.view());
  const std::string parent = group.empty() ? "" : group + '/';
  for (const std::string& child : below) VisitGroup(parent + child, visit);
}

void ConfFile::ForEachEntry(const std::string& group, const Visit& visit) {
  if (!group.empty()) RefuseGroup(group);
  VisitGroup(group, visit);
}

bool ConfFile::HasGroup(const std::string& group) {
  RefuseGroup(group);
  m_config->SetPath("/");
  std::string path;
  for (const std::string& part : PartsOf(group)) {
    ZTKString name;
    unsigned long i = 0;
    while (m_config->GetGroup(name, i) && name.view() != part) ++i;
    if (!m_config->GetGroup(name, i)) return false;
    path += '/';
    path += part;
    m_config->SetPath(Ztk(path));
  }
  return true;
}

bool ConfFile::Get(const std::string& group, const std::string& key, std::string& value) {
  ZTKString found;
  if (!HasGroup(group) || !m_config->Read(Ztk(key), found)) return false;
  value = found.view();
  return true;
}

void ConfFile::Set(const std::string& group, const std::string& key, const std::string& value) {
  RefuseGroup(group);
  RefuseKey(key);
  RefuseValue(value);
  m_config->SetPath(Ztk("/" + group));
  m_config->Write(Ztk(key), Ztk(value));
}

bool ConfFile::Delete(const std::string& group, const std::string& key) {
  return HasGroup(group) && m_config->GetEntryType(Ztk(key)) != 0 &&
         m_config->DeleteEntry(Ztk(key));
}

bool ConfFile::DeleteGroup(const std::string& group) {
  if (!HasGroup(group)) return false;
  const std::vector<std::string> parts = PartsOf(group);
  std::string parent = "/";
  for (size_t i = 0; i + 1 < parts.size(); ++i) parent += parts[i] + '/';
  m_config->SetPath(Ztk(parent));
  return m_config->DeleteGroup(Ztk(parts.back()));
}

void ConfFile::Save() {
  const DeferredInterrupts interrupts;
  if (!m_config->Flush()) throw Failure(kFailed, m_path + ": cannot be written");
}
