#include <pthread.h>
#include <unistd.h>

#include <cstring>

#include "ztk/system/thread.h"

unsigned long ZTKThread::XPGetCurrentId() noexcept { return static_cast<unsigned long>(gettid()); }

bool ZTKThread::XPSetCurrentName(const char* pszName) noexcept {
  if (pszName == nullptr) return false;
  constexpr size_t kLongest = 15;
  char name[kLongest + 1] = {};
  size_t length = strnlen(pszName, kLongest + 1);
  if (length > kLongest) {
    length = kLongest;
    // Not within a character: its later bytes begin with the bits 10.
    while (length > 0 && (static_cast<unsigned char>(pszName[length]) & 0xC0) == 0x80) --length;
  }
  std::memcpy(name, pszName, length);
  return pthread_setname_np(pthread_self(), name) == 0;
}
