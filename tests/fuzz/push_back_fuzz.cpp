// Reads, push-back, peeks and seeks on a plain, a memory and a buffered input stream, against a
// string of what is still to come.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ztk/stream.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

// Bytes from memory without the peek and the end of the memory stream.
class PlainSource : public ZTKInputStream {
 public:
  explicit PlainSource(const std::string& bytes) : m_bytes(bytes) {}
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override {
    const size_t count = std::min({size_t{nCount}, size_t{11}, m_bytes.size() - m_position});
    if (count > 0) std::memcpy(pBuffer, m_bytes.data() + m_position, count);
    m_position += count;
    SetLastError(count > 0 ? ZTK_STREAM_NO_ERROR : ZTK_STREAM_EOF);
    return static_cast<unsigned long>(count);
  }
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override {
    if (mode != ZTKFromStart || nOffset < 0 || nOffset > static_cast<long>(m_bytes.size()))
      return -1;
    m_position = static_cast<size_t>(nOffset);
    return nOffset;
  }
  long OnSysTell() const override { return static_cast<long>(m_position); }

 private:
  const std::string& m_bytes;
  size_t m_position = 0;
};

// `peeksBehind`: peeking looks at the source and not at what was pushed back.
void Run(ZTKInputStream& stream, const std::string& bytes, bool peeksBehind, const uint8_t* data,
         size_t size) {
  std::string pushed;  // In the order in which it will be read.
  size_t position = 0;
  for (size_t i = 0; i + 1 < size; i += 2) {
    const size_t argument = data[i + 1];
    switch (data[i] % 5) {
      case 0: {
        std::string read(argument, '#');
        stream.Read(read.data(), argument);
        Check(stream.LastRead() <= argument);
        read.resize(stream.LastRead());
        const std::string left = pushed + bytes.substr(position);
        Check(read == left.substr(0, argument));
        const size_t fromPushed = std::min(pushed.size(), read.size());
        pushed.erase(0, fromPushed);
        position += read.size() - fromPushed;
        break;
      }
      case 1: {
        const std::string block(argument % 9, static_cast<char>('0' + i % 10));
        const bool refused = block.empty() || stream.GetLastError() > ZTK_STREAM_EOF;
        Check(stream.Ungetch(block.data(), block.size()) == (refused ? 0 : block.size()));
        if (!refused) pushed.insert(0, block);
        break;
      }
      case 2: {
        if (!peeksBehind && stream.GetLastError() != ZTK_STREAM_NO_ERROR) break;  // Would consume.
        const std::string left = (peeksBehind ? "" : pushed) + bytes.substr(position);
        Check(stream.Peek() == (left.empty() ? '\0' : left[0]));
        break;
      }
      case 3: {
        const std::string left = pushed + bytes.substr(position);
        const char byte = stream.GetC();
        Check(byte == (left.empty() ? '\0' : left[0]));
        if (left.empty()) break;
        if (pushed.empty()) {
          ++position;
        } else {
          pushed.erase(0, 1);
        }
        break;
      }
      default: {
        const size_t target = argument % (bytes.size() + 1);
        Check(stream.SeekI(static_cast<long>(target), ZTKFromStart) == static_cast<long>(target));
        position = target;
        pushed.clear();
      }
    }
    Check(stream.TellI() == static_cast<long>(position) - static_cast<long>(pushed.size()));
    if (pushed.size() > 10000) return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  std::string bytes;
  for (int i = 0; i < 200; ++i) bytes += static_cast<char>(i + 1);
  const uint8_t kind = data[0];
  ++data;
  --size;
  PlainSource plain(bytes);
  if (kind % 3 == 0) {
    Run(plain, bytes, false, data, size);
  } else if (kind % 3 == 1) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    Run(memory, bytes, true, data, size);
  } else {
    ZTKBufferedInputStream buffered(plain, nullptr);
    auto* const buffer = new ZTKStreamBuffer(buffered, ZTKStreamBuffer::read);
    buffer->SetBufferIO(1 + kind / 3);
    buffered.SetInputStreamBuffer(buffer);
    Run(buffered, bytes, true, data, size);
  }
  return 0;
}
