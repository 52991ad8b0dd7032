// Every read operator over arbitrary bytes, against a decoder that works on the bytes themselves.
// The first bytes choose the byte order, how stingy the source is, and the operators.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ztk/stream.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

class Source : public ZTKInputStream {
 public:
  Source(const uint8_t* bytes, size_t size, size_t stingy)
      : m_bytes(bytes), m_size(size), m_stingy(stingy) {}

  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override {
    const size_t count = std::min({size_t{nCount}, m_stingy, m_size - m_position});
    if (count > 0) std::memcpy(pBuffer, m_bytes + m_position, count);
    m_position += count;
    if (count == 0) SetLastError(ZTK_STREAM_EOF);
    return static_cast<unsigned long>(count);
  }
  long OnSysTell() const override { return static_cast<long>(m_position); }

 private:
  const uint8_t* m_bytes;
  size_t m_size;
  size_t m_stingy;
  size_t m_position = 0;
};

struct Model {
  const uint8_t* bytes;
  size_t size;
  bool big;
  size_t position = 0;

  uint8_t Next() { return position < size ? bytes[position++] : uint8_t{0}; }
  unsigned long long Integer(unsigned width) {
    unsigned long long value = 0;
    for (unsigned i = 0; i < width; ++i) {
      const unsigned long long byte = Next();
      value |= byte << 8 * (big ? width - 1 - i : i);
    }
    return value;
  }
  std::string String() {
    const auto length = static_cast<size_t>(Integer(4));
    const size_t count = std::min(length, size - position);
    std::string text(reinterpret_cast<const char*>(bytes) + position, count);
    position += count;
    if (length >= 4 && text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
    return text.c_str();
  }
};

void Step(ZTKDataStream& stream, Model& model, unsigned op) {
  switch (op % 13) {
    case 0: {
      char value;
      stream >> value;
      return Check(value == static_cast<char>(model.Integer(1)));
    }
    case 1:
      return Check(stream.Read8() == model.Integer(1));
    case 2: {
      short value;
      stream >> value;
      return Check(value == static_cast<int16_t>(model.Integer(2)));
    }
    case 3:
      return Check(stream.Read16() == model.Integer(2));
    case 4: {
      long value;
      stream >> value;
      return Check(value == static_cast<int32_t>(model.Integer(4)));
    }
    case 5:
      return Check(stream.Read32() == model.Integer(4));
    case 6: {
      long long value;
      stream >> value;
      return Check(value == static_cast<int64_t>(model.Integer(8)));
    }
    case 7: {
      double value;
      stream >> value;
      for (int i = 0; i < 10; ++i) model.Next();
      return Check(value == 0.0);
    }
    case 8: {
      unsigned char bytes[10];
      for (unsigned char& byte : bytes) byte = model.Next();
      const double value = stream.ReadIeeeExtended();
      const double expected = ZTKDataStream::DecodeIeeeExtended(bytes);
      Check(value == expected || (value != value && expected != expected));
      if (value - value != 0) return;  // Infinity or NaN.
      // What was decoded encodes again to something that decodes the same.
      ZTKDataStream::ConvertToIeeeExtended(value, bytes);
      return Check(ZTKDataStream::DecodeIeeeExtended(bytes) == value);
    }
    case 9:
      return Check(std::string(stream.ReadString().view()) == model.String());
    case 10: {
      unsigned short values[5];
      stream.Read16(values, 5);
      for (const unsigned short value : values) Check(value == model.Integer(2));
      return;
    }
    case 11: {
      unsigned long values[37];
      stream.Read32(values, 37);
      for (const unsigned long value : values) Check(value == model.Integer(4));
      return;
    }
    default: {
      unsigned long long values[3];
      stream.Read64(values, 3);
      for (const unsigned long long value : values) Check(value == model.Integer(8));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const bool big = data[0] % 2 == 1;
  const size_t stingy = data[0] % 4 < 2 ? SIZE_MAX : 1 + data[0] / 64;
  const size_t opCount = std::min<size_t>(data[1], size - 2);
  const uint8_t* const ops = data + 2;
  const uint8_t* const bytes = ops + opCount;
  const size_t count = size - 2 - opCount;

  Source source(bytes, count, stingy);
  ZTKBufferedInputStream buffered(source, nullptr);
  ZTKInputStream& in = data[0] % 8 < 4 ? static_cast<ZTKInputStream&>(buffered) : source;
  ZTKDataStream stream(in);
  stream.SetNetWorkByteOrderTo(ZTKDataStream::BytesOrder(big ? data[0] : 0));
  Model model{bytes, count, big};
  for (size_t i = 0; i < opCount; ++i) {
    Step(stream, model, ops[i]);
    Check(in.TellI() == static_cast<long>(model.position));
  }
  return 0;
}
