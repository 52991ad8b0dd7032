#pragma once

// What every source here needs that works on descriptors.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

/// The result of a call that gives -1 on failure, repeated for as long as signals interrupt it.
template <class Call>
auto Uninterrupted(Call call) noexcept {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

inline int OpenDescriptor(const char* pszPath, int nFlags, mode_t nMode = 0) noexcept {
  return Uninterrupted([=] { return open(pszPath, nFlags | O_CLOEXEC, nMode); });
}

/// Has a file or a folder written to the disk.
inline bool SyncDescriptor(int nDescriptor) noexcept {
  return Uninterrupted([=] { return fsync(nDescriptor); }) == 0;
}

/// The same; true also of what has no disk behind it, such as a pipe, and where the file system
/// knows no sync, or keeps what it has at once.
inline bool SyncIfKept(int nDescriptor) noexcept {
  return SyncDescriptor(nDescriptor) || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

/// The descriptor that the body keeps as the handle of a layer.
inline int DescriptorOf(std::intptr_t nHandle) noexcept { return static_cast<int>(nHandle); }

/// A descriptor that is closed with its object; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int nDescriptor) noexcept : m_fd(nDescriptor) {}
  ~Descriptor() {
    if (m_fd >= 0) close(m_fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const noexcept { return m_fd; }

 private:
  int m_fd;
};

/// Makes room for a file of this size. False when there is none; true where the file system cannot
/// tell.
bool ReserveRoom(int nDescriptor, off_t nSize) noexcept;

using CopyChunk = std::unique_ptr<char[]>;
constexpr size_t kCopyChunk = size_t{64} * 1024;

/// Null when out of memory.
inline CopyChunk MakeCopyChunk() noexcept { return CopyChunk(new (std::nothrow) char[kCopyChunk]); }

/// Copies what is left of one file to another; the number of bytes, or -1.
off_t CopyDescriptor(int nFrom, int nTo, const CopyChunk& chunk) noexcept;
