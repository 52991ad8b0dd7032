#include "tools/ztk/input.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"

bool IsDash(const std::string& name) { return name == "-"; }

Input::Input(const std::string& name) : m_shownName(IsDash(name) ? "standard input" : name) {
  if (IsDash(name)) return;
  errno = 0;
  const bool isOpen = m_file.XPOpen(name.c_str(), ZTKFile::read, 0);
  const int nError = errno;
  const FileKind kind = KindOf(name);
  if (!isOpen) {  // Not every system opens folders, to fail when they are read.
    throw Failure(kFailed,
                  name + ": " + std::strerror(kind == FileKind::kFolder ? EISDIR : nError));
  }
  m_isRegular = kind == FileKind::kRegular;
}

size_t Input::Read(void* pBuffer, size_t nCount) {
  errno = 0;
  const size_t nRead = m_file.IsOpen() ? m_file.Read(pBuffer, static_cast<unsigned long>(nCount))
                                       : std::fread(pBuffer, 1, nCount, stdin);
  const bool failed = m_file.IsOpen() ? m_file.HasReadError() : std::ferror(stdin) != 0;
  if (failed) throw Failure(kFailed, m_shownName + ": " + std::strerror(errno));
  return nRead;
}

std::string Input::ReadAll() {
  std::string all;
  std::vector<char> block(size_t{1} << 16);
  while (const size_t nRead = Read(block.data(), block.size())) all.append(block.data(), nRead);
  return all;
}

std::optional<uint64_t> Input::Size() const {
  const int64_t nSize = m_file.IsOpen() ? m_file.Length64() : -1;
  if (nSize < 0) return std::nullopt;
  return static_cast<uint64_t>(nSize);
}
