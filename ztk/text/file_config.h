#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"

class ZTKTextBuffer;
class ZTKTextFile;

/// Settings as a tree of groups; the abstract interface.
class ZTK_API ZTKConfigBase {
 public:
  ZTKConfigBase(const ZTKString& root, const ZTKString& name);
  ZTKConfigBase(const ZTKConfigBase&) = delete;
  ZTKConfigBase& operator=(const ZTKConfigBase&) = delete;

  virtual ~ZTKConfigBase();
  virtual bool SetPath(const ZTKString& path) = 0;
  virtual bool GetGroup(ZTKString& name, unsigned long nIndex) = 0;
  virtual bool GetEntry(ZTKString& name, unsigned long nIndex) = 0;
  virtual bool DeleteEntry(const ZTKString& key) = 0;
  virtual bool DeleteGroup(const ZTKString& name) = 0;
  virtual bool Read(const ZTKString& key, ZTKString& value) = 0;
  virtual bool Read(const ZTKString& key, unsigned long& nValue) = 0;
  virtual bool Write(const ZTKString& key, const ZTKString& value) = 0;
  virtual bool Write(const ZTKString& key, unsigned long nValue) = 0;
  virtual unsigned int GetEntryType(const ZTKString& key) = 0;
  virtual bool Flush();

  const ZTKString& GetPath() const noexcept { return m_currentPath; }

 protected:
  ZTKString m_rootPath;
  ZTKString m_currentPath;
};

struct ZTKFileConfigEntry {
  ZTKString m_key;
  ZTKString m_value;
};

class ZTK_API ZTKFileConfigGroup {
 public:
  explicit ZTKFileConfigGroup(const ZTKString& name);
  ~ZTKFileConfigGroup();
  ZTKFileConfigGroup(const ZTKFileConfigGroup&) = delete;
  ZTKFileConfigGroup& operator=(const ZTKFileConfigGroup&) = delete;
  // Lookup and insertion are up to the implementation.

  ZTKString m_name;
  ZTKArrayEntries m_entries;
  ZTKArrayGroups m_groups;
};

class ZTK_API ZTKFileConfig : public ZTKConfigBase {
 public:
  ZTKFileConfig(const ZTKString& root, const ZTKString& name);
  ~ZTKFileConfig() override;

  bool SetPath(const ZTKString& path) override;
  bool GetGroup(ZTKString& name, unsigned long nIndex) override;
  bool GetEntry(ZTKString& name, unsigned long nIndex) override;
  bool DeleteEntry(const ZTKString& key) override;
  bool DeleteGroup(const ZTKString& name) override;
  bool Read(const ZTKString& key, ZTKString& value) override;
  bool Read(const ZTKString& key, unsigned long& nValue) override;
  bool Write(const ZTKString& key, const ZTKString& value) override;
  bool Write(const ZTKString& key, unsigned long nValue) override;
  unsigned int GetEntryType(const ZTKString& key) override;
  bool Flush() override;

  const ZTKString& GetFilePath() const noexcept { return m_filePath; }
  bool IsDirty() const noexcept { return m_bDirty != 0; }

 protected:
  void Init();
  bool OpenConfFile(ZTKTextFile& file);
  void Parse(ZTKTextBuffer& text);
  void AddGroup(const ZTKString& path);
  void SplitPath(ZTKStringArray& out, const char* pszPath);

 private:
  ZTKFileConfigGroup* m_pRoot = nullptr;
  ZTKFileConfigGroup* m_pCurrent = nullptr;
  int32_t m_bDirty = 0;
  ZTKString m_filePath;
};
