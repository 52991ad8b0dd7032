#include "ztk/stream/data_stream.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ztk/foundation/internal/string_block.h"

namespace {

constexpr size_t kExtendedSize = 10;
constexpr unsigned char kMark[3] = {0xEF, 0xBB, 0xBF};

// One read or write of a stream stays below what the 32-bit last count can tell.
constexpr size_t kLargestPiece = size_t{1} << 30;

// Texts up to here are read into a block of their length; longer ones into memory that begins with
// kFirstBlock bytes and doubles as long as the stream delivers.
constexpr size_t kShortText = 1024;
constexpr size_t kShortScan = 64;
constexpr size_t kFirstBlock = size_t{64} * 1024;

struct FreeDeleter {
  void operator()(char* p) const noexcept { std::free(p); }
};

// ---- byte order ----

uint16_t SwapBytes(uint16_t n) noexcept { return static_cast<uint16_t>(n << 8 | n >> 8); }
uint32_t SwapBytes(uint32_t n) noexcept {
  return n << 24 | (n & 0xFF00u) << 8 | (n >> 8 & 0xFF00u) | n >> 24;
}
uint64_t SwapBytes(uint64_t n) noexcept {
  const auto low = SwapBytes(static_cast<uint32_t>(n));
  return uint64_t{low} << 32 | SwapBytes(static_cast<uint32_t>(n >> 32));
}

// Between the value and its bytes as an integer of the host; its own inverse.
template <typename T>
T ToWire(T n, bool bSwap) noexcept {
  if constexpr (std::endian::native == std::endian::big) bSwap = !bSwap;
  return bSwap ? SwapBytes(n) : n;
}

// Turns `nCount` integers, stored as bytes one after the other, into values in place.
template <typename T>
void FromWire(T* pValues, size_t nCount, bool bSwap) noexcept {
  if (ToWire<T>(1, bSwap) == 1) return;
  for (size_t i = 0; i < nCount; ++i) pValues[i] = SwapBytes(pValues[i]);
}

// Byte by byte: they were stored apart just now, and a wider load would wait for them.
bool IsMark(const void* pBytes) noexcept {
  const auto* const bytes = static_cast<const unsigned char*>(pBytes);
  return bytes[0] == kMark[0] && bytes[1] == kMark[1] && bytes[2] == kMark[2];
}

// Whether a short text that was stored just now has a NUL in it. From its end, in words: these lie
// within what one store has written, so that none has to wait for two, as a wider load would.
bool HasNul(const char* pText, size_t nSize) noexcept {
  constexpr uint64_t kOnes = 0x0101010101010101;
  for (; nSize >= sizeof(uint64_t); nSize -= sizeof(uint64_t)) {
    uint64_t word;
    std::memcpy(&word, pText + nSize - sizeof word, sizeof word);
    if (((word - kOnes) & ~word & (kOnes << 7)) != 0) return true;
  }
  while (nSize > 0) {
    if (pText[--nSize] == '\0') return true;
  }
  return false;
}

// The same of a NUL-terminated text in a block from `malloc`, which the string keeps where a copy
// would be in a block of that size.
ZTKString TakeText(char* pBlock, size_t nSize, unsigned long nBlockSize) {
  const bool isWhole = nSize <= kShortScan && !HasNul(pBlock, nSize);
  const auto length = static_cast<unsigned long>(isWhole ? nSize : std::strlen(pBlock));
  ZTKString text;
  if (length != 0 && ZTKStringBlocks::BlockSize(length) == nBlockSize) {
    ZTKStringBlocks::AdoptBlock(text, pBlock, length, nBlockSize);
  } else {
    text.InitWith(pBlock, 0, length);
    std::free(pBlock);
  }
  return text;
}

}  // namespace

bool ZTKDataStream::IsOk() const noexcept {
  const bool inOk = m_kind == kOutput || m_pIn->GetLastError() == ZTK_STREAM_NO_ERROR;
  const bool outOk = m_kind == kInput || m_pOut->GetLastError() == ZTK_STREAM_NO_ERROR;
  return inOk && outOk;
}

// ---- bytes ----

// Returns how many bytes the stream delivered, never more than asked for. They are the last count
// of the stream, in however many pieces they came.
size_t ZTKDataStream::ReadBytes(void* pDest, size_t nCount) {
  if (m_pIn == nullptr) return 0;
  size_t total = 0;
  for (;;) {
    const size_t wanted = std::min(nCount - total, kLargestPiece);
    const auto piece = static_cast<unsigned long>(wanted);
    m_pIn->Read(static_cast<char*>(pDest) + total, piece);
    const size_t delivered = std::min<size_t>(m_pIn->LastRead(), wanted);
    total += delivered;
    if (delivered < wanted || total == nCount) break;
  }
  if (nCount > kLargestPiece) SetLastRead(total);
  return total;
}

void ZTKDataStream::SetLastRead(size_t nCount) noexcept {
  m_pIn->m_nLastCount = ZTKClampCount(static_cast<unsigned long>(nCount));
}

// Reads an array; what is not delivered becomes 0. Returns its size in bytes, 0 for nothing to do.
size_t ZTKDataStream::ReadPadded(void* pDest, unsigned long nElements, size_t nSize) {
  if (pDest == nullptr || nElements == 0) return 0;
  if (nElements > PTRDIFF_MAX / nSize) {  // No array is that large.
    if (m_pIn != nullptr) m_pIn->SetLastError(ZTK_STREAM_READ_ERROR);
    return 0;
  }
  const size_t bytes = nElements * nSize;
  const size_t delivered = ReadBytes(pDest, bytes);
  std::memset(static_cast<char*>(pDest) + delivered, 0, bytes - delivered);
  return bytes;
}

void ZTKDataStream::WriteBytes(const void* pSrc, unsigned long nCount) {
  if (m_pOut != nullptr) m_pOut->Write(pSrc, nCount);
}

// ---- integers ----

unsigned char ZTKDataStream::Read8() {
  unsigned char value = 0;
  if (m_pIn != nullptr) m_pIn->Read(&value, 1);
  return value;
}

unsigned short ZTKDataStream::Read16() {
  uint16_t value = 0;
  if (m_pIn != nullptr) m_pIn->Read(&value, 2);
  return ToWire(value, m_bSwap != 0);
}

unsigned long ZTKDataStream::Read32() {
  uint32_t value = 0;
  if (m_pIn != nullptr) m_pIn->Read(&value, 4);
  return ToWire(value, m_bSwap != 0);
}

unsigned long long ZTKDataStream::Read64() {
  uint64_t value = 0;
  if (m_pIn != nullptr) m_pIn->Read(&value, 8);
  return ToWire(value, m_bSwap != 0);
}

void ZTKDataStream::Write8(unsigned char nValue) { WriteBytes(&nValue, 1); }

void ZTKDataStream::Write16(unsigned short nValue) {
  const uint16_t wire = ToWire<uint16_t>(nValue, m_bSwap != 0);
  WriteBytes(&wire, 2);
}

void ZTKDataStream::Write32(unsigned long nValue) {
  const uint32_t wire = ToWire(static_cast<uint32_t>(nValue), m_bSwap != 0);
  WriteBytes(&wire, 4);
}

void ZTKDataStream::Write64(unsigned long long nValue) {
  const uint64_t wire = ToWire<uint64_t>(nValue, m_bSwap != 0);
  WriteBytes(&wire, 8);
}

// ---- arrays of integers ----

void ZTKDataStream::Read8(unsigned char* pValues, unsigned long nCount) {
  ReadPadded(pValues, nCount, 1);
}

void ZTKDataStream::Read16(unsigned short* pValues, unsigned long nCount) {
  FromWire(pValues, ReadPadded(pValues, nCount, 2) / 2, m_bSwap != 0);
}

void ZTKDataStream::Read32(unsigned long* pValues, unsigned long nCount) {
  if (pValues == nullptr && m_pIn != nullptr) m_pIn->Read(nullptr, 4 * nCount);  // Its to refuse.
  size_t left = ReadPadded(pValues, nCount, 4) / 4;

  // The packed bytes lie at the front of the array, whose elements may be twice as wide. Blocks
  // are widened from the last down, each through a copy, so that none overwrites what is to come.
  const auto* const packed = reinterpret_cast<const unsigned char*>(pValues);
  constexpr size_t kBlock = 32;
  uint32_t block[kBlock];
  while (left > 0) {
    const size_t count = left % kBlock != 0 ? left % kBlock : kBlock;
    left -= count;
    std::memcpy(block, packed + 4 * left, 4 * count);
    FromWire(block, count, m_bSwap != 0);
    for (size_t i = 0; i < count; ++i) pValues[left + i] = block[i];
  }
}

void ZTKDataStream::Read64(unsigned long long* pValues, unsigned long nCount) {
  static_assert(sizeof(unsigned long long) == sizeof(uint64_t));
  const size_t count = ReadPadded(pValues, nCount, 8) / 8;
  for (size_t i = 0; i < count; ++i) pValues[i] = ToWire<uint64_t>(pValues[i], m_bSwap != 0);
}

void ZTKDataStream::Write8(const unsigned char* pValues, unsigned long nCount) {
  if (pValues == nullptr || nCount == 0 || m_pOut == nullptr) return;
  if (!ZTKIsClamped(nCount)) {
    WriteBytes(pValues, nCount);
    return;
  }
  // More than the stream takes in one write. The last count of a counting stream is its position,
  // never less than what was written.
  while (nCount > 0) {
    const unsigned long piece = std::min<unsigned long>(nCount, kLargestPiece);
    if (m_pOut->Write(pValues, piece).LastWrite() < piece) {
      m_pOut->SetLastError(ZTK_STREAM_WRITE_ERROR);
      return;
    }
    pValues += piece;
    nCount -= piece;
  }
}

void ZTKDataStream::Write16(const unsigned short* pValues, unsigned long nCount) {
  if (pValues == nullptr) return;
  for (unsigned long i = 0; i < nCount; ++i) Write16(pValues[i]);
}

void ZTKDataStream::Write32(const unsigned long* pValues, unsigned long nCount) {
  if (pValues == nullptr) return;
  for (unsigned long i = 0; i < nCount; ++i) Write32(pValues[i]);
}

void ZTKDataStream::Write64(const unsigned long long* pValues, unsigned long nCount) {
  if (pValues == nullptr) return;
  for (unsigned long i = 0; i < nCount; ++i) Write64(pValues[i]);
}

// ---- floating point ----

double ZTKDataStream::ConvertFromIeeeExtended(const unsigned char*) noexcept { return 0.0; }

double ZTKDataStream::ReadDouble() {
  unsigned char bytes[kExtendedSize] = {};
  if (m_pIn != nullptr) m_pIn->Read(bytes, sizeof bytes);
  return ConvertFromIeeeExtended(bytes);
}

void ZTKDataStream::ReadDouble(double* pValues, unsigned long nCount) {
  if (pValues == nullptr) return;
  for (unsigned long i = 0; i < nCount; ++i) pValues[i] = ReadDouble();
}

double ZTKDataStream::ReadIeeeExtended() {
  unsigned char bytes[kExtendedSize] = {};
  if (m_pIn != nullptr) m_pIn->Read(bytes, sizeof bytes);
  return DecodeIeeeExtended(bytes);
}

void ZTKDataStream::WriteDouble(double dValue) {
  unsigned char bytes[kExtendedSize];
  ConvertToIeeeExtended(dValue, bytes);
  WriteBytes(bytes, sizeof bytes);
}

void ZTKDataStream::WriteDouble(const double* pValues, unsigned long nCount) {
  if (pValues == nullptr) return;
  for (unsigned long i = 0; i < nCount; ++i) WriteDouble(pValues[i]);
}

// ---- strings ----

void ZTKDataStream::WriteText(const char* psz) {
  const size_t length = psz != nullptr ? std::strlen(psz) : 0;
  const auto written = static_cast<unsigned long>(std::min<size_t>(length, ZTKString::kMaxLength));
  Write32(written);
  if (written != 0) WriteBytes(psz, written);
  if (written < length && m_pOut != nullptr) m_pOut->SetLastError(ZTK_STREAM_WRITE_ERROR);
}

ZTKString ZTKDataStream::ReadString() {
  const auto length = static_cast<uint32_t>(Read32());
  if (length == 0) return {};
  if (length > m_nMaxString) {
    m_pIn->SetLastError(ZTK_STREAM_READ_ERROR);
    return {};
  }
  return length <= kShortText ? ReadShortText(length) : ReadLongText(length);
}

// Straight into the block of the string. Only called where the length came from an input stream.
ZTKString ZTKDataStream::ReadShortText(uint32_t nLength) {
  const unsigned long blockSize = ZTKStringBlocks::BlockSize(nLength);
  std::unique_ptr<char, FreeDeleter> owner(static_cast<char*>(std::malloc(blockSize)));
  char* const block = owner.get();
  if (block == nullptr) {
    unsigned char head[sizeof kMark];
    if (nLength > sizeof head) ReadBytes(head, sizeof head);
    return {};
  }
  const auto read = [this](char* pTo, uint32_t nCount) {
    return std::min<size_t>(m_pIn->Read(pTo, nCount).LastRead(), nCount);
  };
  size_t size = 0;
  uint32_t rest = nLength;
  // A mark can only be the first three of at least four bytes.
  if (nLength > sizeof kMark) {
    std::memset(block, 0, sizeof kMark);
    read(block, sizeof kMark);
    rest -= static_cast<uint32_t>(sizeof kMark);
    if (!IsMark(block)) size = sizeof kMark;
  }
  size += read(block + size, rest);
  block[size] = '\0';
  return TakeText(owner.release(), size, blockSize);
}

ZTKString ZTKDataStream::ReadLongText(uint32_t nLength) {
  unsigned char head[sizeof kMark] = {};
  ReadBytes(head, sizeof head);
  const size_t total = IsMark(head) ? nLength - sizeof head : nLength;
  size_t capacity = std::min(total, kFirstBlock);
  std::unique_ptr<char, FreeDeleter> text(static_cast<char*>(std::malloc(capacity)));
  if (text == nullptr) return {};

  size_t size = 0;
  if (total == nLength) {
    std::memcpy(text.get(), head, sizeof head);
    size = sizeof head;
  }
  const size_t before = size;
  bool hasMemory = true;
  for (;;) {
    size += ReadBytes(text.get() + size, capacity - size);
    if (size < capacity || size == total) break;  // The stream ended early, or all is here.
    const size_t larger = std::min(total, 2 * capacity);
    auto* const grown = static_cast<char*>(std::realloc(text.get(), larger));
    hasMemory = grown != nullptr;
    if (!hasMemory) break;
    capacity = larger;
    static_cast<void>(text.release());
    text.reset(grown);
  }
  SetLastRead(size - before);
  if (!hasMemory) return {};
  const void* const nul = std::memchr(text.get(), 0, size);
  const size_t length =
      nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - text.get()) : size;
  if (length > ZTKString::kMaxLength) m_pIn->SetLastError(ZTK_STREAM_READ_ERROR);
  return ZTKString(text.get(), text.get() + length);
}
