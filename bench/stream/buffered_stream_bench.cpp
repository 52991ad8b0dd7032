// 16 MiB through a buffered stream over memory, in pieces of 16 and 4096 bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>

#include "ztk/stream.h"

#ifdef ZTK_BENCH_POCO
#include <Poco/BufferedStreamBuf.h>
#endif
#ifdef ZTK_BENCH_GLIB
#include <gio/gio.h>
#endif

namespace {

constexpr size_t kTotal = size_t{16} << 20;

void CountPieces(benchmark::State& state, size_t piece) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kTotal / piece));
}

const std::string& Data() {
  static const std::string data(kTotal, 'x');
  return data;
}

void WriteZtk(benchmark::State& state, size_t piece) {
  const std::string bytes(piece, 'x');
  for (auto _ : state) {
    ZTKMemoryOutputStream memory;
    ZTKBufferedOutputStream stream(memory, nullptr);
    for (size_t done = 0; done < kTotal; done += piece) stream.Write(bytes.data(), piece);
    stream.Sync();
    if (memory.GetSize() != kTotal) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

void ReadZtk(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  for (auto _ : state) {
    ZTKMemoryInputStream memory(Data().data(), kTotal);
    ZTKBufferedInputStream stream(memory, nullptr);
    size_t total = 0;
    while (stream.Read(bytes.data(), piece).LastRead() == piece) total += piece;
    if (total != kTotal) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

#ifdef ZTK_BENCH_POCO
constexpr std::streamsize kBuffer = 1024;

class PocoSink : public Poco::BufferedStreamBuf {
 public:
  PocoSink() : Poco::BufferedStreamBuf(kBuffer, std::ios::out) {}
  std::string bytes;

 protected:
  int writeToDevice(const char* buffer, std::streamsize length) override {
    bytes.append(buffer, static_cast<size_t>(length));
    return static_cast<int>(length);
  }
};

class PocoSource : public Poco::BufferedStreamBuf {
 public:
  PocoSource() : Poco::BufferedStreamBuf(kBuffer, std::ios::in) {}

 protected:
  int readFromDevice(char* buffer, std::streamsize length) override {
    const size_t count = std::min(static_cast<size_t>(length), kTotal - m_position);
    std::memcpy(buffer, Data().data() + m_position, count);
    m_position += count;
    return static_cast<int>(count);
  }

 private:
  size_t m_position = 0;
};

void WritePoco(benchmark::State& state, size_t piece) {
  const std::string bytes(piece, 'x');
  for (auto _ : state) {
    PocoSink sink;
    std::ostream stream(&sink);
    const auto count = static_cast<std::streamsize>(piece);
    for (size_t done = 0; done < kTotal; done += piece) stream.write(bytes.data(), count);
    stream.flush();
    if (sink.bytes.size() != kTotal) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

void ReadPoco(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  for (auto _ : state) {
    PocoSource source;
    std::istream stream(&source);
    const auto count = static_cast<std::streamsize>(piece);
    size_t total = 0;
    while (stream.read(bytes.data(), count)) total += piece;
    if (total != kTotal) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}
#endif

#ifdef ZTK_BENCH_GLIB
void WriteGlib(benchmark::State& state, size_t piece) {
  const std::string bytes(piece, 'x');
  for (auto _ : state) {
    GOutputStream* const memory = g_memory_output_stream_new_resizable();
    GOutputStream* const stream = g_buffered_output_stream_new_sized(memory, 1024);
    gsize written;
    for (size_t done = 0; done < kTotal; done += piece) {
      g_output_stream_write_all(stream, bytes.data(), piece, &written, nullptr, nullptr);
    }
    g_output_stream_flush(stream, nullptr, nullptr);
    g_object_unref(stream);
    g_object_unref(memory);
  }
  CountPieces(state, piece);
}

void ReadGlib(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  for (auto _ : state) {
    GInputStream* const memory =
        g_memory_input_stream_new_from_data(Data().data(), static_cast<gssize>(kTotal), nullptr);
    GInputStream* const stream = g_buffered_input_stream_new_sized(memory, 1024);
    size_t total = 0;
    gsize read = 0;
    while (g_input_stream_read_all(stream, bytes.data(), piece, &read, nullptr, nullptr) != 0 &&
           read == piece) {
      total += piece;
    }
    if (total != kTotal) state.SkipWithError("lost bytes");
    g_object_unref(stream);
    g_object_unref(memory);
  }
  CountPieces(state, piece);
}
#endif

void Register(const char* work, const char* who, void (*run)(benchmark::State&, size_t)) {
  for (const size_t piece : {size_t{16}, size_t{4096}}) {
    const std::string name = std::string("BM_") + work + std::to_string(piece) + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), run, piece)->Unit(benchmark::kMillisecond);
  }
}

const bool kRegistered = [] {
  Register("BufferedWrite", "ztk", WriteZtk);
  Register("BufferedRead", "ztk", ReadZtk);
#ifdef ZTK_BENCH_POCO
  Register("BufferedWrite", "poco", WritePoco);
  Register("BufferedRead", "poco", ReadPoco);
#endif
#ifdef ZTK_BENCH_GLIB
  Register("BufferedWrite", "glib", WriteGlib);
  Register("BufferedRead", "glib", ReadGlib);
#endif
  return true;
}();

}  // namespace
