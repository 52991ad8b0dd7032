// The strings of a data stream.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ztk/foundation/internal/string_block.h"
#include "ztk/stream/data_stream.h"

namespace {

constexpr unsigned char kMark[3] = {0xEF, 0xBB, 0xBF};

// Texts up to here are read into a block of their length; longer ones into memory that begins with
// kFirstBlock bytes and doubles as long as the stream delivers.
constexpr size_t kShortText = 1024;
constexpr size_t kShortScan = 64;
constexpr size_t kFirstBlock = size_t{64} * 1024;

struct FreeDeleter {
  void operator()(char* p) const noexcept { std::free(p); }
};

// Byte by byte: the bytes may come from stores of their own, which cannot be forwarded to a wider
// load.
bool IsMark(const void* pBytes) noexcept {
  const auto* const bytes = static_cast<const unsigned char*>(pBytes);
  return bytes[0] == kMark[0] && bytes[1] == kMark[1] && bytes[2] == kMark[2];
}

// Whether a short text that was stored just now has a NUL in it. In words from its end: each lies
// within one store, which can be forwarded to it; a wider load would span two and wait for both.
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

// The string of a NUL-terminated text in a block from `malloc`. It adopts the block if that is of
// the size that a copy would have.
ZTKString AdoptText(char* pBlock, size_t nSize, unsigned long nBlockSize) {
  const bool isWhole = nSize <= kShortScan && !HasNul(pBlock, nSize);
  const unsigned long length = ZTKCountOf(isWhole ? nSize : std::strlen(pBlock));
  ZTKString text;
  if (length != 0 && ZTKStringBlocks::BlockSize(length) == nBlockSize) {
    ZTKStringBlocks::AdoptBlock(text, pBlock, length, nBlockSize, true);
  } else {
    text.InitWith(pBlock, 0, length);
    std::free(pBlock);
  }
  return text;
}

}  // namespace

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
  return AdoptText(owner.release(), size, blockSize);
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
  bool isAllocated = true;
  for (;;) {
    size += ReadBytes(text.get() + size, capacity - size);
    if (size < capacity || size == total) break;  // The stream ended early, or all is here.
    const size_t larger = std::min(total, 2 * capacity);
    auto* const grown = static_cast<char*>(std::realloc(text.get(), larger));
    isAllocated = grown != nullptr;
    if (!isAllocated) break;
    capacity = larger;
    static_cast<void>(text.release());
    text.reset(grown);
  }
  SetLastRead(size - before);
  if (!isAllocated) return {};
  const void* const nul = std::memchr(text.get(), 0, size);
  const size_t length =
      nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - text.get()) : size;
  if (length > ZTKString::kMaxLength) m_pIn->SetLastError(ZTK_STREAM_READ_ERROR);
  return ZTKString(text.get(), text.get() + length);
}
