#include "tests/support/temp_dir.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#ifdef _WIN32

TempDir::TempDir() {
  static unsigned s_count = 0;
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  do {  // A name may be left of a process that had this number before.
    m_path = folder / ("ztk-test-" + std::to_string(GetCurrentProcessId()) + '-' +
                       std::to_string(++s_count));
  } while (!std::filesystem::create_directory(m_path));
  m_path = std::filesystem::canonical(m_path);
}

#else

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ztk-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  m_path = std::filesystem::canonical(pattern);
}

#endif

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

#ifdef _WIN32
bool RunsAsRoot() { return true; }  // Of the permissions there, one stops writing to files.
#else
bool RunsAsRoot() { return geteuid() == 0; }
#endif

ScopedWorkingDirectory::ScopedWorkingDirectory(const std::filesystem::path& dir)
    : m_old(std::filesystem::current_path()) {
  std::filesystem::current_path(dir);
}

ScopedWorkingDirectory::~ScopedWorkingDirectory() {
  std::error_code ignored;
  std::filesystem::current_path(m_old, ignored);
}

namespace {

// Null unsets it.
void SetEnv(const char* pszName, const char* pszValue) {
#ifdef _WIN32
  SetEnvironmentVariableA(pszName, pszValue);
#else
  if (pszValue != nullptr) {
    setenv(pszName, pszValue, 1);
  } else {
    unsetenv(pszName);
  }
#endif
}

}  // namespace

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name) {
  const char* old = std::getenv(name);
  m_wasSet = old != nullptr;
  if (m_wasSet) m_old = old;
  SetEnv(name, value);
}

ScopedEnv::~ScopedEnv() { SetEnv(m_name.c_str(), m_wasSet ? m_old.c_str() : nullptr); }
