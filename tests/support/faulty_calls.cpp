#include "tests/support/faulty_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

bool s_isActive = false;
long s_count = 0;
long s_failAt = -1;
long s_failFrom = -1;
long s_dieAt = -1;
int s_error = 0;
int s_noNames = 0;
int s_noUnnamed = 0;
std::string s_failName;
const char* s_failed = "";

enum Interruptible { kNever, kBySignals };

// Counts a call; true when it has to fail, with errno set.
bool MustFail(const char* name, Interruptible interruptible) {
  if (!s_isActive) return false;
  const long index = s_count++;
  if (index == s_dieAt) kill(getpid(), SIGKILL);
  const bool isLater = s_failFrom >= 0 && index >= s_failFrom;
  if (index != s_failAt && !isLater && s_failName != name) return false;
  s_failName.clear();
  if (s_error == EINTR && interruptible == kNever) return false;
  s_failed = name;
  errno = s_error;
  return true;
}

template <class Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
    va_list args;
    va_start(args, flags);
    mode = static_cast<mode_t>(va_arg(args, unsigned int));
    va_end(args);
  }
  if (s_isActive && s_noUnnamed != 0 && (flags & O_TMPFILE) == O_TMPFILE) {
    errno = s_noUnnamed;
    return -1;
  }
  return MustFail("open", kBySignals) ? -1 : openat(AT_FDCWD, path, flags, mode);
}

ssize_t read(int descriptor, void* buffer, size_t count) {
  const iovec block = {buffer, count};
  return MustFail("read", kBySignals) ? -1 : readv(descriptor, &block, 1);
}

ssize_t write(int descriptor, const void* buffer, size_t count) {
  const iovec block = {const_cast<void*>(buffer), count};
  return MustFail("write", kBySignals) ? -1 : writev(descriptor, &block, 1);
}

int fsync(int descriptor) {
  return MustFail("fsync", kBySignals) ? -1 : Real(&fsync, "fsync")(descriptor);
}

int posix_fallocate(int descriptor, off_t offset, off_t length) {
  if (MustFail("posix_fallocate", kBySignals)) return errno;
  return fallocate(descriptor, 0, offset, length) == 0 ? 0 : errno;
}

int ftruncate(int descriptor, off_t length) noexcept {
  if (MustFail("ftruncate", kBySignals)) return -1;
  const char* const name = sizeof(off_t) > sizeof(long) ? "ftruncate64" : "ftruncate";
  return Real(&ftruncate, name)(descriptor, length);
}

int fclose(std::FILE* stream) {
  const int result = Real(&fclose, "fclose")(stream);
  return MustFail("fclose", kNever) ? EOF : result;
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
  return MustFail("fdopen", kNever) ? nullptr : Real(&fdopen, "fdopen")(descriptor, mode);
}

int stat(const char* path, struct stat* status) noexcept {
  return MustFail("stat", kNever) ? -1 : fstatat(AT_FDCWD, path, status, 0);
}

int lstat(const char* path, struct stat* status) noexcept {
  return MustFail("lstat", kNever) ? -1 : fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}

int fstat(int descriptor, struct stat* status) noexcept {
  return MustFail("fstat", kNever) ? -1 : fstatat(descriptor, "", status, AT_EMPTY_PATH);
}

ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
  return MustFail("readlink", kNever) ? -1 : readlinkat(AT_FDCWD, path, buffer, size);
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return MustFail("fchmod", kNever) ? -1 : Real(&fchmod, "fchmod")(descriptor, mode);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  return MustFail("fchown", kNever) ? -1 : fchownat(descriptor, "", owner, group, AT_EMPTY_PATH);
}

int unlink(const char* path) noexcept {
  return MustFail("unlink", kNever) ? -1 : unlinkat(AT_FDCWD, path, 0);
}

int remove(const char* path) noexcept {
  if (MustFail("remove", kNever)) return -1;
  return unlinkat(AT_FDCWD, path, 0) == 0 || unlinkat(AT_FDCWD, path, AT_REMOVEDIR) == 0 ? 0 : -1;
}

int rename(const char* from, const char* to) noexcept {
  return MustFail("rename", kNever) ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned int flags) noexcept {
  if (MustFail("renameat2", kNever)) return -1;
  return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int link(const char* from, const char* to) noexcept {
  return MustFail("link", kNever) ? -1 : Real(&link, "link")(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
  if (MustFail("linkat", kNever)) return -1;
  if (s_isActive && s_noNames != 0) {
    errno = s_noNames;
    return -1;
  }
  return Real(&linkat, "linkat")(fromFolder, from, toFolder, to, flags);
}

}  // extern "C"

namespace faulty_calls {

Scope::Scope() {
  s_count = 0;
  s_failAt = -1;
  s_failFrom = -1;
  s_dieAt = -1;
  s_noNames = 0;
  s_noUnnamed = 0;
  s_failName.clear();
  s_failed = "";
  s_isActive = true;
}

Scope::~Scope() { s_isActive = false; }

void Scope::FailAt(long nCall, int nError) {
  s_failAt = nCall;
  s_error = nError;
}

void Scope::FailAt(const std::string& name, int nError) {
  s_failName = name;
  s_error = nError;
}

void Scope::FailFrom(long nCall, int nError) {
  s_failFrom = nCall;
  s_error = nError;
}

void Scope::DieAt(long nCall) { s_dieAt = nCall; }

void Scope::RefuseNames(int nError) { s_noNames = nError; }

void Scope::RefuseUnnamed(int nError) { s_noUnnamed = nError; }

long Scope::Count() const { return s_count; }

std::string Scope::Failed() const { return s_failed; }

}  // namespace faulty_calls
