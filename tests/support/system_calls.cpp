#include "tests/support/system_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <map>

namespace {

struct State {
  std::vector<std::string> calls;
  std::map<std::string, int> refused;
  size_t last = std::numeric_limits<size_t>::max();
  std::string substitutedPath;
  int substitute = -1;
};

thread_local State* t_state = nullptr;

// Records a call; true when it has to fail, with errno set.
bool MustFail(const char* name) {
  if (t_state == nullptr) return false;
  if (t_state->calls.size() == t_state->last) _exit(0);
  t_state->calls.emplace_back(name);
  const auto refused = t_state->refused.find(name);
  if (refused == t_state->refused.end()) return false;
  errno = refused->second;
  return true;
}

template <class Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int OpenInstead(const char* path) {
  if (t_state == nullptr || t_state->substitute < 0 || t_state->substitutedPath != path) return -1;
  const int descriptor = t_state->substitute;
  t_state->substitute = -1;
  return descriptor;
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
  struct stat status {};
  const bool folder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
  if (MustFail(folder ? "fsync folder" : "fsync file")) return -1;
  return Real(&fsync, "fsync")(descriptor);
}

int remove(const char* path) noexcept {
  if (MustFail("remove")) return -1;
  return unlink(path) == 0 || (errno == EISDIR && rmdir(path) == 0) ? 0 : -1;
}

int rename(const char* from, const char* to) noexcept {
  if (MustFail("rename")) return -1;
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int open(const char* path, int flags, ...) {
  const int substitute = OpenInstead(path);
  if (substitute >= 0) return substitute;
  mode_t mode = 0;
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
    va_list args;
    va_start(args, flags);
    mode = static_cast<mode_t>(va_arg(args, unsigned int));
    va_end(args);
  }
  return openat(AT_FDCWD, path, flags, mode);
}

}  // extern "C"

namespace system_calls {

Scope::Scope() { t_state = new State; }

Scope::~Scope() {
  delete t_state;
  t_state = nullptr;
}

void Scope::Refuse(const std::string& name, int nError) { t_state->refused[name] = nError; }

void Scope::DieBefore(size_t nCall) { t_state->last = nCall; }

void Scope::Substitute(const std::string& path, int nDescriptor) {
  t_state->substitutedPath = path;
  t_state->substitute = nDescriptor;
}

const std::vector<std::string>& Scope::Calls() const { return t_state->calls; }

}  // namespace system_calls
