#include "tools/ztk/text_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"
#include "tools/ztk/input.h"
#include "tools/ztk/progress.h"
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
  HostFile file;
  if (!file.OpenExisting(target)) Fail(target, errno);
  write([&](std::string_view bytes) {
    if (!file.Write(bytes)) Fail(target, errno);
  });
  if (!file.Close()) Fail(target, errno);
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
    const auto nSize = static_cast<unsigned long>(bytes.size());  // That of a block.
    if (file.GetFile().Write(bytes.data(), nSize) != nSize) Fail(target, errno);
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
  const FileKind kind = KindOf(target);
  if (kind == FileKind::kFolder) Fail(target, EISDIR);
  if (kind == FileKind::kOther) {
    WriteInto(target, write);
    return;
  }
  if (kind == FileKind::kRegular) {
    const int nRefusal = WriteRefusal(target);
    if (nRefusal != 0) Fail(target, nRefusal);
  }
  Replace(target, write);
}
