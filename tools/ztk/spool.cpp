#include "tools/ztk/spool.h"

#include <cerrno>
#include <cstring>

#include "tools/ztk/failure.h"

Spool::Spool() : m_folder(TemporaryFolder()) {
  if (!m_file.CreateTemporary(m_folder)) Fail();
}

void Spool::Put(std::string_view bytes) {
  if (!m_file.Write(bytes)) Fail();
}

std::string Spool::Path() const { return m_file.Path(); }

void Spool::Fail() const {
  throw Failure(kFailed, "temporary file in " + m_folder + ": " + std::strerror(errno));
}
