#include "ztk/stream/data_stream.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace {

constexpr size_t kExtendedSize = 10;

// One read or write of a stream stays below what the 32-bit last count can tell.
constexpr size_t kLargestPiece = size_t{1} << 30;

// ---- byte order ----

uint8_t SwapBytes(uint8_t n) noexcept { return n; }
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

// What the stream does not deliver is 0; so is all without a stream.
template <typename T>
T ReadInteger(ZTKInputStream* pIn, bool bSwap) {
  T value = 0;
  if (pIn != nullptr) pIn->Read(&value, sizeof value);
  return ToWire(value, bSwap);
}

template <typename T>
void WriteInteger(ZTKOutputStream* pOut, T nValue, bool bSwap) {
  const T wire = ToWire(nValue, bSwap);
  if (pOut != nullptr) pOut->Write(&wire, sizeof wire);
}

// Converts `nCount` integers from their bytes in place.
template <typename T>
void FromWire(T* pValues, size_t nCount, bool bSwap) noexcept {
  if (ToWire<T>(1, bSwap) == 1) return;
  for (size_t i = 0; i < nCount; ++i) pValues[i] = SwapBytes(pValues[i]);
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

unsigned char ZTKDataStream::Read8() { return ReadInteger<uint8_t>(m_pIn, false); }
unsigned short ZTKDataStream::Read16() { return ReadInteger<uint16_t>(m_pIn, m_bSwap != 0); }
unsigned long ZTKDataStream::Read32() { return ReadInteger<uint32_t>(m_pIn, m_bSwap != 0); }
unsigned long long ZTKDataStream::Read64() { return ReadInteger<uint64_t>(m_pIn, m_bSwap != 0); }

void ZTKDataStream::Write8(unsigned char nValue) { WriteBytes(&nValue, 1); }

void ZTKDataStream::Write16(unsigned short nValue) {
  WriteInteger<uint16_t>(m_pOut, nValue, m_bSwap != 0);
}

void ZTKDataStream::Write32(unsigned long nValue) {
  WriteInteger(m_pOut, static_cast<uint32_t>(nValue), m_bSwap != 0);
}

void ZTKDataStream::Write64(unsigned long long nValue) {
  WriteInteger<uint64_t>(m_pOut, nValue, m_bSwap != 0);
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
  const size_t nRead = ReadPadded(pValues, nCount, 4);
  size_t left = pValues != nullptr ? nRead / 4 : 0;

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
