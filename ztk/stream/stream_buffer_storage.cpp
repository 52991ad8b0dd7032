// The storage of a stream buffer: who owns it, how it is replaced, how it grows.
#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/memory_xp.h"
#include "ztk/foundation/word.h"
#include "ztk/stream/internal/stream_buffer_storage.h"

namespace {

// From this capacity on a block doubles: memory that is not written to yet costs addresses alone,
// and a large block is better not moved often.
constexpr uint32_t kLargeBlock = 1u << 20;

// The block behind a capacity that grew: the next of four steps per doubling, so that small writes
// at the end rarely move the storage. A function of the capacity alone, because the buffer has no
// field for the size of its block. No block is larger than what the capacity and a difference of
// pointers can express: a result below the capacity means that there cannot be one.
constexpr uint64_t BlockSize(uint32_t nSize) {
  const uint64_t last = uint64_t{nSize} - (nSize > 0 ? 1 : 0);
  const uint64_t power = std::bit_floor(last);
  const uint64_t step =
      std::max<uint64_t>(last < kLargeBlock ? power / 4 : power, ZTKStreamBuffer::kBlockStep);
  return std::min<uint64_t>((last | (step - 1)) + 1, ZTKStreamBuffer::kLargestSize);
}
static_assert(BlockSize(0) == 256 && BlockSize(1) == 256 && BlockSize(256) == 256);
static_assert(BlockSize(257) == 512 && BlockSize(2048) == 2048 && BlockSize(2049) == 2560);
static_assert(BlockSize(1u << 20) == 1u << 20 && BlockSize((1u << 20) + 1) == 1u << 21);
static_assert(BlockSize(1u << 30) == 1u << 30 && BlockSize(UINT32_MAX) < UINT32_MAX);

// Large storage is made ready in steps of this many bytes, so at most that far ahead of need.
constexpr uint32_t kPrepareStep = 1u << 18;

// The greatest power of two, up to the one above, that the size of a block is a multiple of.
constexpr uint32_t AppendStep(uint64_t nBlockSize) {
  return static_cast<uint32_t>(std::min<uint64_t>(nBlockSize & (0 - nBlockSize), kPrepareStep));
}
static_assert(AppendStep(256) == 256 && AppendStep(2560) == 512 &&
              AppendStep(1u << 30) == 1u << 18);

}  // namespace

ZTKStreamBuffer::ZTKStreamBuffer(const ZTKStreamBuffer& other) noexcept
    : m_pStart(other.m_pStart),
      m_pEnd(other.m_pEnd),
      m_pPos(other.m_pPos),
      m_nSize(other.m_nSize),
      m_pStream(other.m_pStream),
      m_mode(other.m_mode),
      m_storage(kShared | (other.m_storage & (kReadOnly | kCut))),
      m_bFixed(other.m_bFixed),
      m_bFlushable(other.m_bFlushable) {}

ZTKStreamBuffer::~ZTKStreamBuffer() { FreeBuffer(); }

void ZTKStreamBuffer::Adopt(void* pStart, unsigned long nSize, uint32_t storage) noexcept {
  if (pStart != m_pStart) FreeBuffer();  // The same block may be handed over once more.
  m_pStart = static_cast<char*>(pStart);
  m_nSize = m_pStart != nullptr ? ZTKClampCount(nSize) : 0;
  m_pEnd = m_pStart + m_nSize;
  m_storage = storage;
  ResetBuffer();
}

void ZTKStreamBuffer::SetBufferIO(void* pStart, unsigned long nSize, int bTakeOwnership) noexcept {
  Adopt(pStart, nSize, bTakeOwnership != 0 ? uint32_t{kOwned} : 0);
}

void ZTKStreamBuffer::SetBufferIO(void* pStart, void* pEnd, int bTakeOwnership) noexcept {
  const auto first = reinterpret_cast<uintptr_t>(pStart);
  const auto last = reinterpret_cast<uintptr_t>(pEnd);
  SetBufferIO(pStart, last > first ? ZTKCountOf(last - first) : 0, bTakeOwnership);
}

void ZTKStreamBuffer::SetBufferIO(unsigned long nSize) noexcept {
  if (nSize == 0) {
    FreeBuffer();
    InitBuffer();
    return;
  }
  // Zeroed: a seek can make bytes that nobody wrote part of what is flushed or read.
  void* const block = nSize <= UINT32_MAX ? std::calloc(nSize, 1) : nullptr;
  Adopt(block, nSize, kOwned);
}

void ZTKStreamBuffer::SetReadOnlyBufferIO(const void* pStart, unsigned long nSize) noexcept {
  const uint32_t cut = ZTKIsClamped(nSize) ? uint32_t{kCut} : 0;
  Adopt(const_cast<void*>(pStart), nSize, kShared | kReadOnly | cut);
}

void ZTKStreamBuffer::ResetBuffer() noexcept {
  SetError(ZTK_STREAM_NO_ERROR, nullptr);
  SetLastCount(0);
  // An empty read-ahead buffer holds nothing behind its position either: a seek back must not find
  // bytes from elsewhere in the source there.
  if (m_mode == read && m_bFlushable != 0) m_pEnd = m_pStart;
  m_pPos = m_pStart;
}

void ZTKStreamBuffer::InitBuffer() noexcept {
  m_pStart = m_pEnd = m_pPos = nullptr;
  m_nSize = 0;
  m_storage = kOwned;
}

void ZTKStreamBuffer::Init() noexcept {
  InitBuffer();
  m_bFixed = 1;
}

void ZTKStreamBuffer::FreeBuffer() noexcept {
  if ((m_storage & kOwned) == 0 || m_pStart == nullptr) return;
  std::free(m_pStart);
  InitBuffer();
}

bool ZTKStreamBuffer::MoveToBlock(uint32_t nNewSize) noexcept {
  const uint64_t blockSize = BlockSize(nNewSize);
  if (nNewSize > blockSize) return false;
  const bool isShared = (m_storage & kShared) != 0;
  const auto allocate = [&](uint64_t nSize) {
    const auto size = static_cast<size_t>(nSize);
    return static_cast<char*>(isShared ? std::malloc(size) : std::realloc(m_pStart, size));
  };

  const size_t used = BytesFromStart();
  char* block = allocate(blockSize);
  uint32_t rounded = kRounded | (AppendStep(blockSize) - 1) << kStepShift;
  if (block == nullptr) {  // Where memory is short, without the room for what may come.
    block = allocate(nNewSize);
    rounded = 0;
  }
  if (block == nullptr) return false;

  if (isShared && m_nSize > 0) std::memcpy(block, m_pStart, m_nSize);
  const uint32_t flags = isShared ? uint32_t{kOwned} : m_storage & kFlags & ~uint32_t{kRounded};
  m_storage = flags | rounded;
  m_pStart = block;
  m_pPos = block + used;
  return true;
}

void ZTKStreamBuffer::SetFixed(int bFixed) noexcept {
  m_bFixed = bFixed != 0;
  m_storage &= kFlags & ~uint32_t{kRounded};  // Only a buffer that grows looks behind its end.
}

// Adds `nCount` bytes to the capacity.
inline bool ZTKStreamBuffer::Grow(uint32_t nCount) noexcept {
  if (nCount > UINT32_MAX - m_nSize) return false;
  const uint32_t newSize = m_nSize + nCount;
  const bool fits = (m_storage & kRounded) != 0 && newSize <= BlockSize(m_nSize);
  if (!fits && !MoveToBlock(newSize)) return false;

  // New pages cost less in batches than one by one as bytes reach them.
  const uint32_t lastStep = (newSize - 1) / kPrepareStep;
  if ((m_storage & kRounded) != 0 && newSize > kLargeBlock &&
      lastStep != (m_nSize - 1) / kPrepareStep) {
    const uint64_t ahead = (uint64_t{lastStep} + 1) * kPrepareStep;
    const auto until = static_cast<size_t>(std::min(ahead, BlockSize(newSize)));
    XPPrepareMemory(m_pStart + m_nSize, until - m_nSize);
  }

  // The caller writes `nCount` bytes at the position; what it leaves of the new part is zeroed.
  const size_t firstUnwritten = std::max<size_t>(m_nSize, BytesFromStart() + nCount);
  if (firstUnwritten < newSize) std::memset(m_pStart + firstUnwritten, 0, newSize - firstUnwritten);
  m_nSize = newSize;
  m_pEnd = m_pStart + newSize;
  return true;
}

void ZTKStreamBuffer::PutPastEnd(const void* pSrc, uint32_t nCount) noexcept {
  if (m_bFixed != 0) {
    Store(pSrc, BytesToEnd());
    return;
  }
  // Bytes of the storage itself move along when the storage moves.
  const auto offset = reinterpret_cast<uintptr_t>(pSrc) - reinterpret_cast<uintptr_t>(m_pStart);
  const bool inside = m_pStart != nullptr && offset < m_nSize;
  if (!Grow(nCount)) return;
  Store(inside ? m_pStart + offset : pSrc, nCount);
}
