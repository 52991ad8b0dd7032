#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

/// A stream of the body: a handle and one buffer, of what was read ahead or is still to be written.
struct XPStream {
  enum State { kIdle, kReading, kWriting };

  XPStream() noexcept = default;
  ~XPStream() {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    delete[] buffer;
  }
  XPStream(const XPStream&) = delete;
  XPStream& operator=(const XPStream&) = delete;

  bool MoveTo(std::int64_t nOffset, DWORD nMethod) noexcept;
  bool WriteOut() noexcept;
  bool DropReadAhead() noexcept;
  size_t ReadSome(char* pBytes, size_t nCount, bool& failed) noexcept;

  HANDLE handle = INVALID_HANDLE_VALUE;
  char* buffer = nullptr;
  size_t start = 0;  // Of what was read and is not yet given out.
  size_t end = 0;    // Of that, or of what is to be written.
  State state = kIdle;
  std::int64_t systemAt = -1;  // The system's position; -1 when it is not known.
  bool isDisk = false;         // Has positions, and an end.
  bool canWrite = false;
  bool isAtEnd = false;
  bool hasFailed = false;
};
