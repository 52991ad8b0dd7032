#include "tools/ztk/spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/ztk/failure.h"
#include "tools/ztk/write_all.h"

namespace {

std::string TemporaryFolder() {
  const char* const folder = std::getenv("TMPDIR");
  return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

int OpenWithoutName(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  // Not every file system has files without a name.
  std::string path = folder + "/ztk-XXXXXX";
  const int named = mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) unlink(path.c_str());
  return named;
}

}  // namespace

Spool::Spool() : m_folder(TemporaryFolder()), m_fd(OpenWithoutName(m_folder)) {
  if (m_fd < 0) {
    throw Failure(kFailed, "temporary file in " + m_folder + ": " + std::strerror(errno));
  }
}

Spool::~Spool() { close(m_fd); }

void Spool::Put(std::string_view bytes) {
  if (WriteAll(m_fd, bytes)) return;
  throw Failure(kFailed, "temporary file in " + m_folder + ": " + std::strerror(errno));
}

std::string Spool::Path() const { return "/proc/self/fd/" + std::to_string(m_fd); }
