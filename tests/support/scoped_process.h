#pragma once

#ifdef _WIN32
#include <io.h>
#else
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <string>

// Settings of the whole process that a test changes and that its end puts back.

#ifndef _WIN32
class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : m_old(umask(mask)) {}
  ~ScopedUmask() { umask(m_old); }
  ScopedUmask(const ScopedUmask&) = delete;
  ScopedUmask& operator=(const ScopedUmask&) = delete;

 private:
  mode_t m_old;
};

/// Writes beyond this size of a file fail, as on a full disk.
class ScopedFileSizeLimit {
 public:
  explicit ScopedFileSizeLimit(rlim_t bytes) : m_oldSignal(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_old);
    const rlimit limit{bytes, m_old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~ScopedFileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_old);
    signal(SIGXFSZ, m_oldSignal);
  }
  ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
  ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

 private:
  rlimit m_old{};
  void (*m_oldSignal)(int);
};
#endif

/// Ends the process when the scope takes longer than this: for calls that must not block. On
/// Windows the time limit of the test program does.
class ScopedWatchdog {
 public:
#ifdef _WIN32
  explicit ScopedWatchdog(unsigned) {}
  ~ScopedWatchdog() {}
#else
  explicit ScopedWatchdog(unsigned seconds) { alarm(seconds); }
  ~ScopedWatchdog() { alarm(0); }
#endif
  ScopedWatchdog(const ScopedWatchdog&) = delete;
  ScopedWatchdog& operator=(const ScopedWatchdog&) = delete;
};

/// Collects what goes to the standard error stream.
class StderrCapture {
 public:
  StderrCapture() : m_file(std::tmpfile()) {
    std::fflush(stderr);
    m_old = dup(STDERR_FILENO);
    if (m_file != nullptr) dup2(fileno(m_file), STDERR_FILENO);
  }
  ~StderrCapture() { Stop(); }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  /// Ends the collection and gives what came.
  std::string Stop() {
    if (m_file == nullptr) return m_text;
    std::fflush(stderr);
    dup2(m_old, STDERR_FILENO);
    close(m_old);
    std::rewind(m_file);
    for (int c; (c = std::getc(m_file)) != EOF;) m_text += static_cast<char>(c);
    std::fclose(m_file);
    m_file = nullptr;
    return m_text;
  }

 private:
  std::FILE* m_file;
  int m_old = -1;
  std::string m_text;
};
