#include "examples/notes/settings.h"

Settings::Settings() : m_config("Notes", "ztk-notes", CONF_ALL) {}

unsigned long Settings::Get(const char* group, const char* key, unsigned long fallback) {
  unsigned long value = 0;
  m_config.SetPath(group);
  return m_config.Read(key, value) ? value : fallback;
}

bool Settings::Set(const char* group, const char* key, unsigned long value) {
  m_config.SetPath(group);
  m_config.Write(key, value);
  return m_config.Flush();
}

std::vector<std::string> Settings::GetRecentFiles() {
  std::vector<std::string> files;
  m_config.SetPath("/Recent");
  ZTKString path;
  while (files.size() < kRecentFiles &&
         m_config.Read(("File" + std::to_string(files.size() + 1)).c_str(), path)) {
    files.emplace_back(path.c_str());
  }
  return files;
}

bool Settings::AddRecentFile(const std::string& path) {
  // Such a name would come back from the file as another.
  if (path.find_first_of("\r\n") != std::string::npos || path.back() == ' ') return true;
  m_config.Reload();  // The list moves as a whole: what another window has added is part of it.
  std::vector<std::string> files;
  files.push_back(path);
  for (const std::string& former : GetRecentFiles()) {
    if (former != path && files.size() < kRecentFiles) files.push_back(former);
  }
  m_config.SetPath("/Recent");
  for (size_t i = 0; i < files.size(); ++i) {
    m_config.Write(("File" + std::to_string(i + 1)).c_str(), ZTKString(files[i].c_str()));
  }
  return m_config.Flush();
}

std::string Settings::GetFolder() const {
  const std::string path = m_config.GetFilePath().c_str();
  return path.substr(0, path.rfind('/') + 1);
}
