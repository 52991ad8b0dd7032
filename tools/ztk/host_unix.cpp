#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"

namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};
struct sigaction s_old[std::size(kSignals)] = {};
volatile sig_atomic_t s_interrupt = 0;  // The signal that came.

void OnInterrupt(int nSignal) { s_interrupt = nSignal; }

}  // namespace

FileKind KindOf(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return FileKind::kMissing;
    throw Failure(kFailed, path + ": " + std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) return FileKind::kFolder;
  return S_ISREG(status.st_mode) ? FileKind::kRegular : FileKind::kOther;
}

std::string AbsolutePath(const std::string& path) { return std::filesystem::absolute(path); }

int WriteRefusal(const std::string& path) { return access(path.c_str(), W_OK) != 0 ? errno : 0; }

bool HostFile::OpenExisting(const std::string& path) {
  m_handle = open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  return m_handle >= 0;
}

// Without a name from the beginning, or from when it has been opened: not every file system has
// files without one.
bool HostFile::CreateTemporary(const std::string& folder) {
  m_handle = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (m_handle < 0) {
    std::string path = folder + "/ztk-XXXXXX";
    m_handle = mkostemp(path.data(), O_CLOEXEC);
    if (m_handle >= 0) unlink(path.c_str());
  }
  m_path = "/proc/self/fd/" + std::to_string(m_handle);
  return m_handle >= 0;
}

bool HostFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(static_cast<int>(m_handle), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

bool HostFile::Close() {
  const int fd = static_cast<int>(m_handle);
  m_handle = -1;
  return fd < 0 || close(fd) == 0;
}

std::string HostFile::Path() const { return m_path; }

std::string TemporaryFolder() {
  const char* const folder = std::getenv("TMPDIR");
  return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

bool IsErrorATerminal() { return isatty(STDERR_FILENO) != 0; }

void DeferInterrupts() {
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &s_old[i]);
    if (s_old[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

bool IsInterrupted() { return s_interrupt != 0; }

void ReleaseInterrupts() {
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &s_old[i], nullptr);
  if (s_interrupt != 0) raise(s_interrupt);
}

std::vector<std::string> BeginProgram(int argc, char** argv) {
  return std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc);
}

void EndProgram() {}
