#include "tests/support/temp_dir.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ztk-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  m_path = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
  std::error_code ignored;
  // A test may have left folders that cannot be listed or changed.
  for (auto it = std::filesystem::recursive_directory_iterator(
           m_path, std::filesystem::directory_options::skip_permission_denied, ignored);
       !ignored && it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
    std::error_code inner;
    if (it->is_directory(inner) && !it->is_symlink(inner)) {
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, inner);
    }
  }
  std::filesystem::remove_all(m_path, ignored);
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.is_open()) << path;
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void WriteWholeFile(const std::string& path, std::string_view content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.close();
  ASSERT_TRUE(out.good()) << path;
}

std::string Hex(std::string_view bytes) {
  std::string text;
  char two[4];
  for (const char byte : bytes) {
    std::snprintf(two, sizeof two, "%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    if (!text.empty()) text += ' ';
    text += two;
  }
  return text;
}

bool RunsAsRoot() { return geteuid() == 0; }

ScopedWorkingDirectory::ScopedWorkingDirectory(const std::filesystem::path& dir)
    : m_old(std::filesystem::current_path()) {
  std::filesystem::current_path(dir);
}

ScopedWorkingDirectory::~ScopedWorkingDirectory() {
  std::error_code ignored;
  std::filesystem::current_path(m_old, ignored);
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name) {
  const char* old = std::getenv(name);
  m_wasSet = old != nullptr;
  if (m_wasSet) m_old = old;
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

ScopedEnv::~ScopedEnv() {
  if (m_wasSet) {
    setenv(m_name.c_str(), m_old.c_str(), 1);
  } else {
    unsetenv(m_name.c_str());
  }
}
