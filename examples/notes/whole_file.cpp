#include "examples/notes/whole_file.h"

#include <glib.h>

#include <cerrno>

#include "ztk/file/file.h"

std::string ReadWhole(const std::string& path, std::string& bytes) {
  if (g_file_test(path.c_str(), G_FILE_TEST_IS_DIR)) return Reason(EISDIR);
  if (g_file_test(path.c_str(), G_FILE_TEST_EXISTS) &&
      !g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) {
    return "It is not a plain file.";
  }
  errno = 0;
  ZTKFile file(path.c_str(), ZTKFile::read);
  const long length = file.IsOpen() ? file.Length() : -1;
  if (length < 0) return Reason(errno);
  std::string read(static_cast<size_t>(length), '\0');
  if (file.Read(read.data(), read.size()) != read.size()) return Reason(errno);
  bytes = std::move(read);
  return "";
}

std::string Reason(int nError) {
  std::string reason = nError != 0 ? g_strerror(nError) : "It did not work";
  return reason.append(".");
}
