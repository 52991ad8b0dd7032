// Sequences of operations on a memory buffer that grows, on a read-ahead buffer and on a
// write-behind buffer, each against a plain string.
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

// The input, handed out piece by piece; zeroes behind its end.
struct Input {
  const uint8_t* data;
  size_t size;

  bool Ended() const { return size == 0; }
  uint8_t Byte() {
    if (size == 0) return 0;
    --size;
    return *data++;
  }
  long Offset() { return static_cast<int16_t>(Byte() | Byte() << 8) % 700; }
};

std::string Piece(Input& input) {
  const unsigned size = input.Byte();
  return std::string(size, static_cast<char>('a' + input.Byte() % 26));
}

void MemoryBuffer(Input& input) {
  ZTKStreamBuffer buffer(ZTKStreamBuffer::read_write);
  buffer.SetFixed(0);
  std::string model;
  size_t position = 0;
  while (!input.Ended() && model.size() < 100000) {
    switch (input.Byte() % 4) {
      case 0: {
        const std::string piece = Piece(input);
        if (piece.size() > model.size() - position) model.resize(model.size() + piece.size());
        model.replace(position, piece.size(), piece);
        position += piece.size();
        Check(buffer.Write(piece.data(), piece.size()) == piece.size());
        break;
      }
      case 1: {
        std::string read(input.Byte(), '#');
        const size_t wanted = read.size();
        read.resize(buffer.Read(read.data(), wanted));
        Check(read.size() == std::min(wanted, model.size() - position));
        Check(read == model.substr(position, read.size()));
        position += read.size();
        break;
      }
      case 2: {
        const long offset = input.Offset();
        const int mode = input.Byte() % 4;
        const long origin = mode == 0   ? 0
                            : mode == 1 ? static_cast<long>(position)
                                        : static_cast<long>(model.size());
        const long target = origin + offset;
        const bool ok = mode < 3 && target >= 0 && target <= static_cast<long>(model.size());
        Check(buffer.Seek(offset, ZTKSeekMode(mode)) == (ok ? target : -1));
        if (ok) position = static_cast<size_t>(target);
        break;
      }
      default: {  // A copy that grows leaves the original alone.
        ZTKStreamBuffer copy(buffer);
        copy.Seek(0, ZTKFromEnd);
        const std::string piece = Piece(input);
        copy.Write(piece.data(), piece.size());
        Check(std::string(copy.GetBufferStart(), copy.GetBufferEnd()) == model + piece);
      }
    }
    Check(buffer.GetBufferSize() == model.size());
    Check(std::string(buffer.GetBufferStart(), buffer.GetBufferEnd()) == model);
    Check(buffer.Tell() == static_cast<long>(position));
  }
}

void ReadAhead(Input& input) {
  std::string bytes;
  for (int i = 0; i < 500; ++i) bytes += static_cast<char>(i * 7 + i / 256);
  ZTKMemoryInputStream source(bytes.data(), bytes.size());
  ZTKStreamBuffer buffer(source, ZTKStreamBuffer::read);
  buffer.SetBufferIO(1 + input.Byte() % 40u);
  size_t position = 0;
  while (!input.Ended()) {
    switch (input.Byte() % 4) {
      case 0: {
        std::string read(input.Byte(), '#');
        const size_t wanted = read.size();
        read.resize(buffer.Read(read.data(), wanted));
        Check(read == bytes.substr(position, wanted));
        position += read.size();
        break;
      }
      case 1: {
        const char expected = position < bytes.size() ? bytes[position] : '\0';
        Check(buffer.Peek() == expected);
        break;
      }
      case 2: {
        const char expected = position < bytes.size() ? bytes[position++] : '\0';
        Check(buffer.GetChar() == expected);
        break;
      }
      default: {
        const long offset = input.Offset();
        buffer.Seek(offset, ZTKSeekMode(input.Byte() % 3));
        position = static_cast<size_t>(buffer.Tell());
        Check(position <= bytes.size());
      }
    }
    Check(buffer.Tell() == static_cast<long>(position));
    Check(buffer.GetBufferPos() >= buffer.GetBufferStart());
    Check(buffer.GetBufferPos() <= buffer.GetBufferEnd());
  }
}

void WriteBehind(Input& input) {
  ZTKMemoryOutputStream sink;
  std::string model;
  {
    ZTKBufferedOutputStream stream(sink, nullptr);
    auto* const buffer = new ZTKStreamBuffer(stream, ZTKStreamBuffer::write);
    buffer->SetBufferIO(input.Byte() % 40u);
    stream.SetOutputStreamBuffer(buffer);
    while (!input.Ended() && model.size() < 100000) {
      if (input.Byte() % 8 == 0) {
        stream.Sync();
      } else {
        const std::string piece = Piece(input);
        stream.Write(piece.data(), piece.size());
        Check(piece.empty() || stream.LastWrite() == piece.size());
        model += piece;
      }
      Check(stream.GetSize() == model.size());
    }
  }
  std::string written(sink.GetSize(), '\0');
  sink.CopyTo(written.data(), sink.GetSize());
  Check(written == model);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input{data, size};
  switch (input.Byte() % 3) {
    case 0:
      MemoryBuffer(input);
      break;
    case 1:
      ReadAhead(input);
      break;
    default:
      WriteBehind(input);
  }
  return 0;
}
