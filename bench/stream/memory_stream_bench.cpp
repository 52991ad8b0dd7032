// 64 MiB into memory that grows, and back out of it, in pieces of 1, 16 and 4096 bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "ztk/stream.h"

#ifdef ZTK_BENCH_QT
#include <QBuffer>
#include <QByteArray>
#endif

namespace {

constexpr size_t kTotal = size_t{64} << 20;

void CountPieces(benchmark::State& state, size_t piece) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kTotal / piece));
}

std::string Piece(size_t size) { return std::string(size, 'x'); }

const std::string& Data() {
  static const std::string data(kTotal, 'x');
  return data;
}

void WriteZtk(benchmark::State& state, size_t piece) {
  const std::string bytes = Piece(piece);
  for (auto _ : state) {
    ZTKMemoryOutputStream stream;
    for (size_t done = 0; done < kTotal; done += piece) stream.Write(bytes.data(), piece);
    if (stream.GetSize() != kTotal) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

void WriteStd(benchmark::State& state, size_t piece) {
  const std::string bytes = Piece(piece);
  for (auto _ : state) {
    std::stringbuf stream(std::ios_base::out);
    if (piece == 1) {
      for (size_t done = 0; done < kTotal; ++done) stream.sputc(bytes[0]);
    } else {
      const auto count = static_cast<std::streamsize>(piece);
      for (size_t done = 0; done < kTotal; done += piece) stream.sputn(bytes.data(), count);
    }
    benchmark::DoNotOptimize(stream);
  }
  CountPieces(state, piece);
}

// What the machine allows: a plain vector that knows its end.
void WriteLimit(benchmark::State& state, size_t piece) {
  const std::string bytes = Piece(piece);
  for (auto _ : state) {
    std::vector<char> memory(kTotal);
    for (size_t done = 0; done < kTotal; done += piece) {
      std::memcpy(memory.data() + done, bytes.data(), piece);
      benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(memory.data());
  }
  CountPieces(state, piece);
}

void ReadZtk(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  for (auto _ : state) {
    ZTKMemoryInputStream stream(Data().data(), kTotal);
    for (size_t done = 0; done < kTotal; done += piece) stream.Read(bytes.data(), piece);
    if (stream.LastRead() != piece || !stream.Eof()) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

void ReadStd(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  std::stringbuf stream(Data(), std::ios_base::in);
  for (auto _ : state) {
    stream.pubseekpos(0, std::ios_base::in);
    if (piece == 1) {
      for (size_t done = 0; done < kTotal; ++done) benchmark::DoNotOptimize(stream.sbumpc());
    } else {
      const auto count = static_cast<std::streamsize>(piece);
      for (size_t done = 0; done < kTotal; done += piece) stream.sgetn(bytes.data(), count);
    }
    if (stream.in_avail() > 0) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}

void ReadLimit(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  for (auto _ : state) {
    for (size_t done = 0; done < kTotal; done += piece) {
      std::memcpy(bytes.data(), Data().data() + done, piece);
      benchmark::ClobberMemory();
    }
  }
  CountPieces(state, piece);
}

#ifdef ZTK_BENCH_QT
void WriteQt(benchmark::State& state, size_t piece) {
  const std::string bytes = Piece(piece);
  for (auto _ : state) {
    QBuffer stream;
    stream.open(QIODevice::WriteOnly);
    const auto count = static_cast<qint64>(piece);
    for (size_t done = 0; done < kTotal; done += piece) stream.write(bytes.data(), count);
    benchmark::DoNotOptimize(stream);
  }
  CountPieces(state, piece);
}

void ReadQt(benchmark::State& state, size_t piece) {
  std::string bytes(piece, ' ');
  QByteArray data = QByteArray::fromRawData(Data().data(), static_cast<int>(kTotal));
  for (auto _ : state) {
    QBuffer stream(&data);
    stream.open(QIODevice::ReadOnly);
    const auto count = static_cast<qint64>(piece);
    for (size_t done = 0; done < kTotal; done += piece) stream.read(bytes.data(), count);
    if (!stream.atEnd()) state.SkipWithError("lost bytes");
  }
  CountPieces(state, piece);
}
#endif

void Register(const char* work, const char* who, void (*run)(benchmark::State&, size_t)) {
  for (const size_t piece : {size_t{1}, size_t{16}, size_t{4096}}) {
    const std::string name = std::string("BM_") + work + std::to_string(piece) + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), run, piece)->Unit(benchmark::kMillisecond);
  }
}

const bool kRegistered = [] {
  Register("MemoryWrite", "ztk", WriteZtk);
  Register("MemoryWrite", "std", WriteStd);
  Register("MemoryWrite", "limit", WriteLimit);
  Register("MemoryRead", "ztk", ReadZtk);
  Register("MemoryRead", "std", ReadStd);
  Register("MemoryRead", "limit", ReadLimit);
#ifdef ZTK_BENCH_QT
  Register("MemoryWrite", "qt", WriteQt);
  Register("MemoryRead", "qt", ReadQt);
#endif
  return true;
}();

}  // namespace
