// Values through the data stream: 65536 of each kind in every iteration, over memory that grows
// when writing. Peers write the same values in the same byte order where they have one.
#include <benchmark/benchmark.h>

#include <bit>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "ztk/stream.h"

#ifdef ZTK_BENCH_QT
#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QString>
#endif
#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_POCO
#include <Poco/BinaryReader.h>
#include <Poco/BinaryWriter.h>
#include <Poco/MemoryStream.h>
#endif
#ifdef ZTK_BENCH_BOOST_SERIALIZATION
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#endif

namespace {

constexpr uint32_t kCount = 65536;
constexpr unsigned kNoHeader = 1;  // boost::archive::no_header
const char* const kText = "twenty characters ok";

void CountValues(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kCount); }

ZTKDataStream::BytesOrder Order(bool big) {
  return big ? ZTKDataStream::BigEndian : ZTKDataStream::LittleEndian;
}

// `kCount` values as bytes on the wire.
template <typename Write>
std::string Wire(Write write) {
  ZTKMemoryOutputStream memory;
  ZTKDataStream stream(memory);
  for (uint32_t i = 0; i < kCount; ++i) write(stream, i);
  std::string bytes(memory.GetSize(), '\0');
  memory.CopyTo(bytes.data(), memory.GetSize());
  return bytes;
}

// ---- a 32-bit integer ----

void Write32Ztk(benchmark::State& state, bool big) {
  for (auto _ : state) {
    ZTKMemoryOutputStream memory;
    ZTKDataStream stream(memory);
    stream.SetNetWorkByteOrderTo(Order(big));
    for (uint32_t i = 0; i < kCount; ++i) stream.Write32(i);
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

void Read32Ztk(benchmark::State& state, bool big) {
  const std::string bytes(4 * kCount, '\x12');
  for (auto _ : state) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    ZTKDataStream stream(memory);
    stream.SetNetWorkByteOrderTo(Order(big));
    for (uint32_t i = 0; i < kCount; ++i) benchmark::DoNotOptimize(stream.Read32());
    if (!stream.IsOk()) state.SkipWithError("short");
  }
  CountValues(state);
}

void Write32Limit(benchmark::State& state, bool big) {
  std::vector<uint32_t> memory(kCount);
  for (auto _ : state) {
    for (uint32_t i = 0; i < kCount; ++i) {
      memory[i] = big ? __builtin_bswap32(i) : i;
      benchmark::ClobberMemory();
    }
  }
  CountValues(state);
}

void Read32Limit(benchmark::State& state, bool big) {
  const std::vector<uint32_t> memory(kCount);
  for (auto _ : state) {
    for (uint32_t i = 0; i < kCount; ++i) {
      benchmark::DoNotOptimize(big ? __builtin_bswap32(memory[i]) : memory[i]);
    }
  }
  CountValues(state);
}

// ---- arrays of integers ----

void Read32ArrayZtk(benchmark::State& state, bool big) {
  const std::string bytes(4 * kCount, '\x12');
  std::vector<unsigned long> values(kCount);
  for (auto _ : state) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    ZTKDataStream stream(memory);
    stream.SetNetWorkByteOrderTo(Order(big));
    stream.Read32(values.data(), kCount);
    benchmark::DoNotOptimize(values.data());
  }
  CountValues(state);
}

void Read64ArrayZtk(benchmark::State& state, bool big) {
  const std::string bytes(8 * kCount, '\x12');
  std::vector<unsigned long long> values(kCount);
  for (auto _ : state) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    ZTKDataStream stream(memory);
    stream.SetNetWorkByteOrderTo(Order(big));
    stream.Read64(values.data(), kCount);
    benchmark::DoNotOptimize(values.data());
  }
  CountValues(state);
}

// One copy out of the stream's memory and a pass that widens or swaps.
void Read32ArrayLimit(benchmark::State& state, bool big) {
  const std::string bytes(4 * kCount, '\x12');
  std::vector<uint32_t> packed(kCount);
  std::vector<unsigned long> values(kCount);
  for (auto _ : state) {
    std::memcpy(packed.data(), bytes.data(), bytes.size());
    for (uint32_t i = 0; i < kCount; ++i) {
      values[i] = big ? __builtin_bswap32(packed[i]) : packed[i];
    }
    benchmark::DoNotOptimize(values.data());
  }
  CountValues(state);
}

void Read64ArrayLimit(benchmark::State& state, bool big) {
  const std::string bytes(8 * kCount, '\x12');
  std::vector<unsigned long long> values(kCount);
  for (auto _ : state) {
    std::memcpy(values.data(), bytes.data(), bytes.size());
    if (big) {
      for (auto& value : values) value = __builtin_bswap64(value);
    }
    benchmark::DoNotOptimize(values.data());
  }
  CountValues(state);
}

void Write32ArrayZtk(benchmark::State& state, bool big) {
  const std::vector<unsigned long> values(kCount, 0x01020304);
  for (auto _ : state) {
    ZTKMemoryOutputStream memory;
    ZTKDataStream stream(memory);
    stream.SetNetWorkByteOrderTo(Order(big));
    stream.Write32(values.data(), kCount);
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

// ---- strings and doubles ----

void WriteStringZtk(benchmark::State& state, bool) {
  const ZTKString text(kText);
  for (auto _ : state) {
    ZTKMemoryOutputStream memory;
    ZTKDataStream stream(memory);
    for (uint32_t i = 0; i < kCount; ++i) stream.WriteString(text);
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

void ReadStringZtk(benchmark::State& state, bool) {
  const std::string bytes = Wire([](ZTKDataStream& stream, uint32_t) { stream << kText; });
  for (auto _ : state) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    ZTKDataStream stream(memory);
    for (uint32_t i = 0; i < kCount; ++i) benchmark::DoNotOptimize(stream.ReadString());
    if (!stream.IsOk()) state.SkipWithError("short");
  }
  CountValues(state);
}

void WriteDoubleZtk(benchmark::State& state, bool) {
  for (auto _ : state) {
    ZTKMemoryOutputStream memory;
    ZTKDataStream stream(memory);
    for (uint32_t i = 0; i < kCount; ++i) stream.WriteDouble(i * 1.1);
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

void ReadExtendedZtk(benchmark::State& state, bool) {
  const std::string bytes =
      Wire([](ZTKDataStream& stream, uint32_t i) { stream.WriteDouble(i * 1.1); });
  for (auto _ : state) {
    ZTKMemoryInputStream memory(bytes.data(), bytes.size());
    ZTKDataStream stream(memory);
    for (uint32_t i = 0; i < kCount; ++i) benchmark::DoNotOptimize(stream.ReadIeeeExtended());
  }
  CountValues(state);
}

// The machine's own 80 bits, turned round.
void WriteDoubleLimit(benchmark::State& state, bool) {
  std::vector<char> memory(10 * kCount);
  for (auto _ : state) {
    for (uint32_t i = 0; i < kCount; ++i) {
      const long double wide = i * 1.1;
      uint64_t mantissa;
      uint16_t head;
      std::memcpy(&mantissa, &wide, 8);
      std::memcpy(&head, reinterpret_cast<const char*>(&wide) + 8, 2);
      mantissa = __builtin_bswap64(mantissa);
      head = __builtin_bswap16(head);
      std::memcpy(&memory[10 * i], &head, 2);
      std::memcpy(&memory[10 * i + 2], &mantissa, 8);
    }
    benchmark::DoNotOptimize(memory.data());
  }
  CountValues(state);
}

// ---- peers ----

#ifdef ZTK_BENCH_GLIB
void Write32Glib(benchmark::State& state, bool big) {
  for (auto _ : state) {
    GByteArray* const bytes = g_byte_array_new();
    for (uint32_t i = 0; i < kCount; ++i) {
      const guint32 value = big ? GUINT32_TO_BE(i) : GUINT32_TO_LE(i);
      g_byte_array_append(bytes, reinterpret_cast<const guint8*>(&value), sizeof value);
    }
    g_byte_array_free(bytes, TRUE);
  }
  CountValues(state);
}
#endif

#ifdef ZTK_BENCH_QT
template <typename Write>
void WriteQt(benchmark::State& state, bool big, Write write) {
  for (auto _ : state) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream.setByteOrder(big ? QDataStream::BigEndian : QDataStream::LittleEndian);
    for (uint32_t i = 0; i < kCount; ++i) write(stream, i);
    benchmark::DoNotOptimize(buffer);
  }
  CountValues(state);
}

template <typename Value, typename Write>
void ReadQt(benchmark::State& state, bool big, Write write) {
  QByteArray bytes;
  {
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (uint32_t i = 0; i < kCount; ++i) write(stream, i);
  }
  for (auto _ : state) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    if (big) stream.setByteOrder(QDataStream::BigEndian);
    for (uint32_t i = 0; i < kCount; ++i) {
      Value value;
      stream >> value;
      benchmark::DoNotOptimize(value);
    }
    if (stream.status() != QDataStream::Ok) state.SkipWithError("short");
  }
  CountValues(state);
}

const auto kQtInteger = [](QDataStream& stream, uint32_t i) { stream << quint32{i}; };
const auto kQtText = [](QDataStream& stream, uint32_t) {
  static const QByteArray text(kText);  // Bytes and a length, as ours.
  stream << text;
};

void Write32Qt(benchmark::State& state, bool big) { WriteQt(state, big, kQtInteger); }
void WriteStringQt(benchmark::State& state, bool) { WriteQt(state, true, kQtText); }
void Read32Qt(benchmark::State& state, bool big) { ReadQt<quint32>(state, big, kQtInteger); }
void ReadStringQt(benchmark::State& state, bool) { ReadQt<QByteArray>(state, true, kQtText); }
#endif

#ifdef ZTK_BENCH_POCO
void Write32Poco(benchmark::State& state, bool big) {
  for (auto _ : state) {
    std::ostringstream memory;
    Poco::BinaryWriter stream(memory, big ? Poco::BinaryWriter::BIG_ENDIAN_BYTE_ORDER
                                          : Poco::BinaryWriter::LITTLE_ENDIAN_BYTE_ORDER);
    for (uint32_t i = 0; i < kCount; ++i) stream << Poco::UInt32{i};
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

void Read32Poco(benchmark::State& state, bool big) {
  const std::string bytes(4 * kCount, '\x12');
  for (auto _ : state) {
    Poco::MemoryInputStream memory(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Poco::BinaryReader stream(memory, big ? Poco::BinaryReader::BIG_ENDIAN_BYTE_ORDER
                                          : Poco::BinaryReader::LITTLE_ENDIAN_BYTE_ORDER);
    for (uint32_t i = 0; i < kCount; ++i) {
      Poco::UInt32 value;
      stream >> value;
      benchmark::DoNotOptimize(value);
    }
    if (!stream.good()) state.SkipWithError("short");
  }
  CountValues(state);
}

void WriteStringPoco(benchmark::State& state, bool) {
  const std::string text(kText);
  for (auto _ : state) {
    std::ostringstream memory;
    Poco::BinaryWriter stream(memory);
    for (uint32_t i = 0; i < kCount; ++i) stream << text;
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

void ReadStringPoco(benchmark::State& state, bool) {
  std::ostringstream memory;
  Poco::BinaryWriter writer(memory);
  for (uint32_t i = 0; i < kCount; ++i) writer << std::string(kText);
  const std::string bytes = memory.str();
  for (auto _ : state) {
    Poco::MemoryInputStream source(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Poco::BinaryReader stream(source);
    for (uint32_t i = 0; i < kCount; ++i) {
      std::string text;
      stream >> text;
      benchmark::DoNotOptimize(text);
    }
  }
  CountValues(state);
}
#endif

#ifdef ZTK_BENCH_BOOST_SERIALIZATION
template <typename Value>
void WriteBoost(benchmark::State& state, const Value& value) {
  for (auto _ : state) {
    std::stringbuf memory(std::ios_base::out);
    boost::archive::binary_oarchive stream(memory, kNoHeader);
    for (uint32_t i = 0; i < kCount; ++i) stream << value;
    benchmark::DoNotOptimize(memory);
  }
  CountValues(state);
}

template <typename Value>
void ReadBoost(benchmark::State& state, const Value& value) {
  std::stringbuf memory(std::ios_base::out);
  {
    boost::archive::binary_oarchive stream(memory, kNoHeader);
    for (uint32_t i = 0; i < kCount; ++i) stream << value;
  }
  const std::string bytes = memory.str();
  for (auto _ : state) {
    state.PauseTiming();
    std::stringbuf source(bytes, std::ios_base::in);
    state.ResumeTiming();
    boost::archive::binary_iarchive stream(source, kNoHeader);
    for (uint32_t i = 0; i < kCount; ++i) {
      Value read;
      stream >> read;
      benchmark::DoNotOptimize(read);
    }
  }
  CountValues(state);
}

void Write32Boost(benchmark::State& state, bool) { WriteBoost<uint32_t>(state, 7); }
void Read32Boost(benchmark::State& state, bool) { ReadBoost<uint32_t>(state, 7); }
void WriteStringBoost(benchmark::State& state, bool) { WriteBoost<std::string>(state, kText); }
void ReadStringBoost(benchmark::State& state, bool) { ReadBoost<std::string>(state, kText); }
#endif

void Register(const char* work, const char* who, void (*run)(benchmark::State&, bool),
              bool big = false) {
  const std::string name = std::string("BM_") + work + "/" + who;
  benchmark::RegisterBenchmark(name.c_str(), run, big)->Unit(benchmark::kMicrosecond);
}

const bool kRegistered = [] {
  for (const bool big : {false, true}) {
    const auto named = [big](const char* work) { return work + std::string(big ? "BE" : "LE"); };
    const std::string write = named("Write32"), read = named("Read32");
    Register(write.c_str(), "ztk", Write32Ztk, big);
    Register(write.c_str(), "limit", Write32Limit, big);
    Register(read.c_str(), "ztk", Read32Ztk, big);
    Register(read.c_str(), "limit", Read32Limit, big);
#ifdef ZTK_BENCH_GLIB
    Register(write.c_str(), "glib", Write32Glib, big);
#endif
#ifdef ZTK_BENCH_QT
    Register(write.c_str(), "qt", Write32Qt, big);
    Register(read.c_str(), "qt", Read32Qt, big);
#endif
#ifdef ZTK_BENCH_POCO
    Register(write.c_str(), "poco", Write32Poco, big);
    Register(read.c_str(), "poco", Read32Poco, big);
#endif
    Register(named("Read32Array").c_str(), "ztk", Read32ArrayZtk, big);
    Register(named("Read32Array").c_str(), "limit", Read32ArrayLimit, big);
    Register(named("Read64Array").c_str(), "ztk", Read64ArrayZtk, big);
    Register(named("Read64Array").c_str(), "limit", Read64ArrayLimit, big);
    Register(named("Write32Array").c_str(), "ztk", Write32ArrayZtk, big);
    Register(named("Write32Array").c_str(), "single", Write32Ztk, big);
  }
#ifdef ZTK_BENCH_BOOST_SERIALIZATION
  Register("Write32LE", "boost", Write32Boost);  // In the order of the host, unswapped.
  Register("Read32LE", "boost", Read32Boost);
  Register("WriteString20", "boost", WriteStringBoost);
  Register("ReadString20", "boost", ReadStringBoost);
#endif
#ifdef ZTK_BENCH_QT
  Register("WriteString20", "qt", WriteStringQt);
  Register("ReadString20", "qt", ReadStringQt);
#endif
#ifdef ZTK_BENCH_POCO
  Register("WriteString20", "poco", WriteStringPoco);
  Register("ReadString20", "poco", ReadStringPoco);
#endif
  Register("WriteString20", "ztk", WriteStringZtk);
  Register("ReadString20", "ztk", ReadStringZtk);
  Register("WriteDouble", "ztk", WriteDoubleZtk);
  Register("WriteDouble", "limit", WriteDoubleLimit);
  Register("ReadIeeeExtended", "ztk", ReadExtendedZtk);
  return true;
}();

}  // namespace
