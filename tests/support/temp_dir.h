#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

/// A folder of its own for one test; removed with everything in it at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return m_path; }
  /// The full path of `name` inside the folder.
  std::string operator/(std::string_view name) const { return (m_path / name).string(); }

 private:
  std::filesystem::path m_path;
};

/// The whole content of a file. A file that cannot be read fails the test.
std::string ReadWholeFile(const std::string& path);
/// Creates or replaces a file.
void WriteWholeFile(const std::string& path, std::string_view content);
/// "EF BB BF 61": bytes as a person compares them.
std::string Hex(std::string_view bytes);
/// True for the user whom permissions of Unix do not stop, and on Windows, which has none; tests of
/// refused access skip then.
bool RunsAsRoot();

/// Changes into a folder and back to the old one at the end of the scope.
class ScopedWorkingDirectory {
 public:
  explicit ScopedWorkingDirectory(const std::filesystem::path& dir);
  ~ScopedWorkingDirectory();
  ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
  ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

 private:
  std::filesystem::path m_old;
};

/// Sets an environment variable, or unsets it for null, and restores it at the end of the scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string m_name;
  std::string m_old;
  bool m_wasSet;
};
