#include "tools/ztk/text_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tools/ztk/failure.h"
#include "tools/ztk/input.h"
#include "tools/ztk/progress.h"
#include "tools/ztk/write_all.h"
#include "ztk/file/temp_file.h"

namespace {

using Writer = std::function<void(const TextSink&)>;

[[noreturn]] void Fail(const std::string& target, int nError) {
  throw Failure(kFailed, target + ": " + std::strerror(nError));
}

void WriteToStandardOutput(const Writer& write) {
  write([](std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size()) return;
    Fail("standard output", errno);
  });
}

// It is neither created nor emptied.
void WriteInto(const std::string& target, const Writer& write) {
  const int fd = open(target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) Fail(target, errno);
  try {
    write([&](std::string_view bytes) {
      if (!WriteAll(fd, bytes)) Fail(target, errno);
    });
  } catch (...) {
    close(fd);
    throw;
  }
  if (close(fd) != 0) Fail(target, errno);
}

void Replace(const std::string& target, const Writer& write) {
  constexpr unsigned int kOptions =
      TEMP_ONE_STEP | TEMP_FOLLOW_LINKS | TEMP_KEEP_IDENTITY | TEMP_EXACT_PATH;
  const DeferredInterrupts interrupts;  // Outlives the temporary file.
  errno = 0;
  ZTKTempFile file(ZTKString(target.c_str()), kOptions);
  if (!file.GetFile().IsOpen()) {
    throw Failure(kFailed, target + ": no temporary file can be created beside it" +
                               (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
  }
  write([&](std::string_view bytes) {
    errno = 0;
    if (file.GetFile().Write(bytes.data(), bytes.size()) != bytes.size()) Fail(target, errno);
  });
  errno = 0;
  if (!file.GetFile().Flush()) Fail(target, errno);
  if (file.Commit() || file.GetOutcome() == COMMIT_DONE) return;
  const int reason = errno;
  if (file.GetOutcome() == COMMIT_NOT_DURABLE) {
    throw Failure(kFailed, target + ": written, but a power cut may undo it");
  }
  if (file.GetOutcome() == COMMIT_TARGET_GONE) {
    throw Failure(kFailed, target + ": cannot be replaced; the new text is in " +
                               std::string(file.GetTempPath().view()));
  }
  file.Discard();
  throw Failure(kFailed, target + ": cannot be replaced" +
                             (reason != 0 ? std::string(": ") + std::strerror(reason) : ""));
}

}  // namespace

void WriteText(const std::string& target, const Writer& write) {
  if (IsDash(target)) {
    WriteToStandardOutput(write);
    return;
  }
  struct stat status = {};
  if (stat(target.c_str(), &status) != 0) {
    if (errno != ENOENT) Fail(target, errno);
  } else if (S_ISDIR(status.st_mode)) {
    Fail(target, EISDIR);
  } else if (!S_ISREG(status.st_mode)) {
    WriteInto(target, write);
    return;
  } else if (access(target.c_str(), W_OK) != 0) {
    Fail(target, errno);
  }
  Replace(target, write);
}
