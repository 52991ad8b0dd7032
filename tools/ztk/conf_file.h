#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ztk/config/file_config.h"

/// A configuration as its users see it: the file of an application, or a file by its path, with
/// the groups as its headers name them ("Painter/Window").
class ConfFile {
 public:
  enum class Missing { kRefuse, kCreate };

  /// `name` is a path when it holds a '/' or ends in ".conf", else an application's name. Throws a
  /// Failure when the file is missing and not to be created, cannot be read, or is no text.
  ConfFile(const std::string& name, Missing missing);

  const std::string& Path() const { return m_path; }

  /// All groups with an entry, or all below one group, in name order.
  using Visit = std::function<void(const std::string& group, const std::string& key,
                                   const std::string& value)>;
  void ForEachEntry(const std::string& group, const Visit& visit);

  bool HasGroup(const std::string& group);
  /// False when there is no such entry.
  bool Get(const std::string& group, const std::string& key, std::string& value);
  /// Throws a Failure for what would not come back as it was written.
  void Set(const std::string& group, const std::string& key, const std::string& value);
  bool Delete(const std::string& group, const std::string& key);
  bool DeleteGroup(const std::string& group);
  /// Throws a Failure when the file cannot be written.
  void Save();

 private:
  void VisitGroup(const std::string& group, const Visit& visit);

  std::string m_path;
  std::unique_ptr<ZTKFileConfig> m_config;
};
