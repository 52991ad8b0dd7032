#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/scoped_preferences.h"
#include "tests/support/temp_dir.h"
#include "ztk/config/file_config.h"
#include "ztk/log/log.h"
#include "ztk/text/text_buffer.h"
#include "ztk/text/text_file.h"

/// A preferences folder of the test's own, and a working directory for what finds no such folder.
class PreferencesFolder {
 public:
  PreferencesFolder() : m_preferences(m_dir.Path()), m_inWork(m_work.Path()) {}
  std::string ConfFile(const std::string& name = "App") const { return m_dir / (name + ".conf"); }
  const TempDir& Dir() const { return m_dir; }
  const TempDir& Work() const { return m_work; }

 private:
  TempDir m_dir;
  ScopedPreferences m_preferences;
  TempDir m_work;
  ScopedWorkingDirectory m_inWork;
};

/// A configuration whose operations for subclasses a test may call.
class OpenConfig : public ZTKFileConfig {
 public:
  using ZTKFileConfig::AddGroup;
  using ZTKFileConfig::Init;
  using ZTKFileConfig::OpenConfFile;
  using ZTKFileConfig::Parse;
  using ZTKFileConfig::SplitPath;
  using ZTKFileConfig::ZTKFileConfig;
};

/// Lines without a storage.
class Lines : public ZTKTextBuffer {
 public:
  Lines() = default;
  explicit Lines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) AddLine(line.c_str(), EOL_UNIX);
  }
  bool OnExists() const override { return false; }
  bool OnOpen(const ZTKString&, ZTKTextBufferOpenMode) override { return false; }
  bool OnClose() override { return true; }
  bool OnRead() override { return false; }
  bool OnWrite(ZTKTextFileType) override { return false; }
};

/// Collects what is logged while it lives.
class LogCapture {
 public:
  LogCapture() : m_oldDoLog(ZTKLog::ms_doLog) {
    ZTKLog::SetActiveTarget(new Target(m_text));
    ZTKLog::ms_doLog = 1;
  }
  ~LogCapture() {
    ZTKLog::ms_doLog = m_oldDoLog;
    ZTKLog::SetActiveTarget(nullptr);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  const std::string& Text() const { return m_text; }

 private:
  class Target : public ZTKLog {
   public:
    explicit Target(std::string& text) : m_text(text) {}
    void DoLog(unsigned long nLevel, const char* pszMsg) override {
      m_text += std::to_string(nLevel) + " " + pszMsg + "\n";
    }

   private:
    std::string& m_text;
  };

  std::string m_text;
  int m_oldDoLog;
};

/// The value of an entry of the current group, or "<none>".
inline std::string ValueOf(ZTKConfigBase& config, const char* key) {
  ZTKString value;
  return config.Read(key, value) ? value.c_str() : "<none>";
}

/// The group at `path`, counted from the top of the tree, and all below it: "{k=v;group{k=v;}}".
/// It is current afterwards.
inline std::string TreeOf(OpenConfig& config, const std::string& path = "") {
  config.AddGroup(path.c_str());
  std::string text = "{";
  ZTKString name;
  for (unsigned long i = 0; config.GetEntry(name, i); ++i) {
    text += std::string(name.c_str()) + "=" + ValueOf(config, name.c_str()) + ";";
  }
  for (unsigned long i = 0; config.GetGroup(name, i); ++i) {
    text += name.c_str() + TreeOf(config, path + "/" + name.c_str());
    config.AddGroup(path.c_str());
  }
  return text + "}";
}

inline constexpr char kMark[] = "\xEF\xBB\xBF";
