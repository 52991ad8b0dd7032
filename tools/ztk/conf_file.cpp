#include "tools/ztk/conf_file.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/input.h"
#include "tools/ztk/progress.h"
#include "tools/ztk/text_convert.h"
#include "ztk/file/file_name.h"

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kExtension = ".conf";
constexpr std::string_view kBlanks = " \t\r\n\v\f";

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

ZTKString Ztk(const std::string& text) { return ZTKString(text.c_str()); }

bool IsTrimmed(std::string_view text) {
  return text.empty() || (kBlanks.find(text.front()) == std::string_view::npos &&
                          kBlanks.find(text.back()) == std::string_view::npos);
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
  bool isBad = group.empty() || group.find_first_of("]\r\n") != std::string::npos;
  for (const fs::path& part : fs::path(group)) {
    isBad = isBad || part == "." || part == ".." || part == "/" || !IsTrimmed(part.native());
  }
  if (isBad) {
    throw Failure(kUsage, "\"" + group +
                              "\" cannot be a group: write it as a header does, such as "
                              "Painter/Window");
  }
}

}  // namespace

ConfFile::ConfFile(const std::string& name, Missing missing) {
  std::string confName = name;
  if (name.find('/') != std::string::npos || EndsWith(name, kExtension)) {
    if (!EndsWith(name, kExtension)) {
      throw Failure(kUsage, name + ": the name of a configuration's file ends in .conf");
    }
    const fs::path path = fs::absolute(name);
    if (!fs::is_directory(path.parent_path())) {
      throw Failure(kFailed, path.parent_path().string() + ": no such folder");
    }
    // The library looks in the folder of preferences: for this run, that is the file's own.
    setenv("XDG_CONFIG_HOME", path.parent_path().c_str(), 1);
    confName = path.stem().string();
    m_path = path.string();
  } else {
    m_path =
        std::string(ZTKFileName::XPGetUserHomeDir().view()) + '/' + name + std::string(kExtension);
  }

  // Opening a configuration would create the file, or take one that cannot be read for empty.
  if (fs::exists(m_path)) {
    // Asked before it is opened: a pipe would wait for somebody who writes.
    if (!fs::is_regular_file(m_path)) throw Failure(kFailed, m_path + ": no regular file");
    Input input(m_path);
    if (!ScanText(input).IsLossless()) throw Failure(kNo, m_path + ": this is no text");
  } else if (missing == Missing::kRefuse) {
    throw Failure(kNo, m_path + ": no such configuration");
  }
  // What the user wrote beside the settings stays. Programs that share the file through a lock have
  // made one; where there is none, none is left behind.
  unsigned int nOptions = CONF_ALL & ~CONF_MERGE;
  if (fs::exists(m_path + ".lock")) nOptions |= CONF_MERGE;
  m_config = std::make_unique<ZTKFileConfig>(ZTKString(), Ztk(confName), nOptions);
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
  for (const fs::path& part : fs::path(group)) {
    ZTKString name;
    unsigned long i = 0;
    while (m_config->GetGroup(name, i) && name.view() != part.native()) ++i;
    if (!m_config->GetGroup(name, i)) return false;
    path += '/';
    path += part.native();
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
  const fs::path path(group);
  m_config->SetPath(Ztk("/" + path.parent_path().string()));
  return m_config->DeleteGroup(Ztk(path.filename().string()));
}

void ConfFile::Save() {
  const DeferredInterrupts interrupts;
  if (!m_config->Flush()) throw Failure(kFailed, m_path + ": cannot be written");
}
