#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ztk/log/log.h"
#include "ztk/stream.h"

/// `count` bytes without a short period, so that a byte in the wrong place shows.
inline std::string Pattern(size_t count) {
  std::string bytes(count, '\0');
  unsigned state = 12345;
  for (char& byte : bytes) {
    state = state * 1103515245u + 12345u;
    byte = static_cast<char>(state >> 16);
  }
  return bytes;
}

/// A source over bytes that gives at most `stingy` of them at once, fails where it is told to, and
/// counts how often it is asked.
class TestSource : public ZTKInputStream {
 public:
  explicit TestSource(std::string bytes, size_t stingy = SIZE_MAX)
      : m_bytes(std::move(bytes)), m_stingy(stingy) {}

  /// From this position on every read is a failure.
  void FailAt(size_t position) { m_failAt = position; }
  /// Claims this many bytes more than it delivers.
  void ClaimMore(unsigned long excess) { m_excess = excess; }
  void CannotSeek() { m_seekable = false; }

  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override {
    requests.push_back(nCount);
    if (m_position >= m_failAt) {
      m_lastError = ZTK_STREAM_READ_ERROR;
      return 0;
    }
    const size_t end = std::min(m_bytes.size(), m_failAt);
    const size_t count = std::min({size_t{nCount}, m_stingy, end - m_position});
    if (count > 0) std::memcpy(pBuffer, m_bytes.data() + m_position, count);
    m_position += count;
    m_lastError = count > 0 || nCount == 0 ? ZTK_STREAM_NO_ERROR : ZTK_STREAM_EOF;
    return static_cast<unsigned long>(count) + m_excess;
  }
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override {
    seeks.emplace_back(nOffset, mode);
    if (!m_seekable) return -1;
    const long size = static_cast<long>(m_bytes.size());
    const long origin = mode == ZTKFromStart     ? 0
                        : mode == ZTKFromCurrent ? static_cast<long>(m_position)
                                                 : size;
    if (nOffset < -origin || nOffset > size - origin) return -1;
    m_position = static_cast<size_t>(origin + nOffset);
    return origin + nOffset;
  }
  long OnSysTell() const override { return m_seekable ? static_cast<long>(m_position) : -1; }
  unsigned long GetSize() const override { return static_cast<unsigned long>(m_bytes.size()); }

  std::vector<unsigned long> requests;              ///< The counts of all OnSysRead calls.
  std::vector<std::pair<long, ZTKSeekMode>> seeks;  ///< The arguments of all OnSysSeek calls.

 private:
  std::string m_bytes;
  size_t m_stingy;
  size_t m_failAt = SIZE_MAX;
  size_t m_position = 0;
  unsigned long m_excess = 0;
  bool m_seekable = true;
};

/// A sink that records what it took: at most `stingy` bytes at once, `capacity` in all.
class TestSink : public ZTKOutputStream {
 public:
  explicit TestSink(size_t stingy = SIZE_MAX, size_t capacity = SIZE_MAX)
      : m_stingy(stingy), m_capacity(capacity) {}

  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override {
    const size_t count = std::min({size_t{nCount}, m_stingy, m_capacity - bytes.size()});
    pieces.push_back(nCount);
    bytes.append(static_cast<const char*>(pBuffer), count);
    return static_cast<unsigned long>(count);
  }
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override {
    seeks.emplace_back(nOffset, mode);
    return nOffset;
  }
  long OnSysTell() const override { return static_cast<long>(bytes.size()); }
  unsigned long GetSize() const override { return static_cast<unsigned long>(bytes.size()); }
  void Sync() override { ++syncs; }

  std::string bytes;
  std::vector<unsigned long> pieces;  ///< The counts of all OnSysWrite calls.
  std::vector<std::pair<long, ZTKSeekMode>> seeks;
  int syncs = 0;

 private:
  size_t m_stingy;
  size_t m_capacity;
};

/// Collects the warnings of the library while it lives.
class WarningCatcher {
 public:
  WarningCatcher() : m_oldSwitch(ZTKLog::ms_doLog) {
    ZTKLog::SetActiveTarget(new Target(m_messages));
    ZTKLog::ms_doLog = 1;
  }
  ~WarningCatcher() {
    ZTKLog::ms_doLog = m_oldSwitch;
    ZTKLog::SetActiveTarget(nullptr);
  }
  WarningCatcher(const WarningCatcher&) = delete;
  WarningCatcher& operator=(const WarningCatcher&) = delete;

  /// The messages so far, and forgets them.
  std::vector<std::string> Take() { return std::exchange(m_messages, {}); }

 private:
  class Target : public ZTKLog {
   public:
    explicit Target(std::vector<std::string>& messages) : m_messages(messages) {}
    void DoLog(unsigned long nLevel, const char* pszMsg) override {
      m_messages.push_back((nLevel == 2 ? "" : "level? ") + std::string(pszMsg));
    }

   private:
    std::vector<std::string>& m_messages;
  };

  std::vector<std::string> m_messages;
  int m_oldSwitch;
};

/// Reads up to `count` bytes and returns what was delivered.
inline std::string ReadSome(ZTKInputStream& stream, size_t count) {
  std::string bytes(count + 1, '#');
  stream.Read(bytes.data(), static_cast<unsigned long>(count));
  const bool inBounds = bytes[count] == '#' && stream.LastRead() <= count;
  bytes.resize(inBounds ? stream.LastRead() : 0);
  return inBounds ? bytes : "(out of bounds)";
}

/// What a memory output stream holds.
inline std::string Content(const ZTKMemoryOutputStream& stream) {
  std::string bytes(stream.GetSize(), '\0');
  const unsigned long count = stream.CopyTo(bytes.data(), stream.GetSize());
  return bytes.substr(0, count);
}
