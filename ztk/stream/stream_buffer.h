#pragma once

#include <cstddef>
#include <cstdint>

#include "ztk/export.h"
#include "ztk/stream/stream_base.h"
#include "ztk/stream/stream_bytes.h"

class ZTKInputStream;
class ZTKOutputStream;

/// The bytes between a stream and its source or sink: read-ahead, write-behind, or (without a
/// stream) the storage of a memory stream itself.
///
///     start            position              end            start + size
///       |  consumed      |  unread             |                 |       a read-ahead buffer
///       |  waiting       |  free                                 |       a write-behind buffer
///
/// A buffer fills itself with the stream's `OnSysRead` and drains itself with its `OnSysWrite`, and
/// leaves count and error of each operation in the stream, which is not owned. A stream that is no
/// input (output) stream is treated as none for reading (writing). With size 0 every operation goes
/// straight to the stream.
///
/// Storage is owned when the buffer allocated it or was told to own it; what it may free or grow
/// must come from `malloc`. When an allocation fails, what does not fit is not written. A buffer
/// and its stream are used by one thread at a time.
class ZTK_API ZTKStreamBuffer {
 public:
// Clang takes enumerators for shadows of the system functions of these names.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
  enum BufMode : int {
    read = 0,        ///< Filled from an input stream.
    write = 1,       ///< Drained into an output stream.
    read_write = 2,  ///< Both.
  };
#pragma GCC diagnostic pop

  /// Growing storage is allocated in steps of at least this many bytes.
  static constexpr uint32_t kBlockStep = 256;
  /// The capacity at most: what 32 bits, and a difference of pointers, hold.
  static constexpr uint32_t kLargestSize =
      static_cast<uint32_t>(PTRDIFF_MAX < UINT32_MAX ? PTRDIFF_MAX : UINT32_MAX) &
      ~(kBlockStep - 1);

  /// A memory buffer: never fills, never flushes.
  explicit ZTKStreamBuffer(BufMode mode) noexcept : m_mode(mode) {}
  /// A buffer, without storage so far, that serves `stream`.
  ZTKStreamBuffer(ZTKStreamBase& stream, BufMode mode) noexcept
      : m_pStream(&stream), m_mode(mode), m_bFlushable(1) {}
  /// Shares the storage of `other`, which must outlive the copy and not grow meanwhile. A copy that
  /// has to grow moves to a block of its own.
  ZTKStreamBuffer(const ZTKStreamBuffer& other) noexcept;
  ZTKStreamBuffer& operator=(const ZTKStreamBuffer&) = delete;
  virtual ~ZTKStreamBuffer();

  /// Delivers up to `nCount` bytes, filling the buffer as needed, and returns how many; fewer are
  /// `ZTK_STREAM_EOF`. With a null destination nothing is copied and the position stays; an
  /// unbuffered read delivers 0 then.
  virtual unsigned long Read(void* pDest, unsigned long nCount);
  /// Takes up to `nCount` bytes, flushing (`ZTK_STREAM_WRITE_ERROR` if that fails) or growing as
  /// needed, and returns how many. Null or 0 bytes: 0, count and error stay. When memory for
  /// growing runs out, nothing is stored although the result says so.
  virtual unsigned long Write(const void* pSrc, unsigned long nCount);
  /// The next byte, which stays; 0 with `ZTK_STREAM_READ_ERROR` at the end of the data. Without a
  /// stream or storage a warning and 0.
  virtual char Peek();
  /// Consumes one byte; 0 with `ZTK_STREAM_READ_ERROR` when there is none.
  virtual char GetChar();
  virtual void PutChar(char ch);
  /// The position of the next byte in the stream's data (in the storage, without a stream).
  virtual long Tell() const;
  /// With a stream, `ZTKFromCurrent` inside the buffer returns the offset itself, not the new
  /// position, deliberately; other seeks go to the stream, drop the buffer's content (a caller
  /// flushes first) and return the stream's answer. Without a stream the new position, or -1 for a
  /// target outside the storage.
  virtual long Seek(long nOffset, ZTKSeekMode mode);

  /// Replaces the storage and resets the buffer. At most 4 GiB - 1 bytes are used. The literal 0 as
  /// pointer fits both forms; cast it to `void*`.
  void SetBufferIO(void* pStart, unsigned long nSize, int bTakeOwnership) noexcept;
  /// The storage `[pStart, pEnd)`; an empty one when the range is reversed.
  void SetBufferIO(void* pStart, void* pEnd, int bTakeOwnership) noexcept;
  /// Allocates zeroed storage; none with size 0 or when that fails.
  void SetBufferIO(unsigned long nSize) noexcept;
  /// Bytes that must never be written to: a write counts, but stores nothing.
  void SetReadOnlyBufferIO(const void* pStart, unsigned long nSize) noexcept;
  /// Clears the stream's count and error. A read-ahead buffer is empty then, others at their start.
  void ResetBuffer() noexcept;

  /// The stream, or null when the mode forbids reading (writing) or it is no such stream.
  ZTKInputStream* GetInputStream() const noexcept;
  ZTKOutputStream* GetOutputStream() const noexcept;
  ZTKStreamBase* GetStream() const noexcept { return m_pStream; }
  BufMode GetMode() const noexcept { return m_mode; }

  /// Stores the error in the stream; the message is ignored.
  void SetError(ZTKStreamError err, const char*) noexcept {
    if (m_pStream != nullptr) m_pStream->m_lastError = err;
  }

  /// Consumes up to `nCount` bytes of the storage alone. Null: nothing.
  void GetFromBuffer(void* pDest, unsigned long nCount) noexcept {
    if (pDest == nullptr) return;
    Consume(pDest, nCount < BytesToEnd() ? nCount : BytesToEnd());
  }
  /// Stores bytes at the position, `pSrc` may lie in the storage. What does not fit is cut when the
  /// capacity is fixed; otherwise that grows by all of `nCount`.
  void PutToBuffer(const void* pSrc, unsigned long nCount) noexcept;
  /// Bytes up to the end, the free space of a write buffer; an empty one with a stream is filled
  /// first.
  unsigned long GetDataLeft() {
    if (m_pPos == m_pEnd && m_bFlushable != 0) FillBuffer();
    return static_cast<unsigned long>(BytesToEnd());  // No more than the 32-bit capacity.
  }
  /// Replaces the content by the stream's next bytes; 0 when there are none.
  int FillBuffer();
  /// Passes `[start, position)` to the stream. 0 when nothing waits, or not all was accepted: then
  /// everything stays and is sent again by the next flush.
  int FlushBuffer();

  /// Copies all that is left to `pDest` in pieces of 5120 bytes; returns the bytes it accepted.
  unsigned long Read(ZTKStreamBuffer* pDest);
  /// Copies from `pSrc` in pieces of 5120 bytes until one is not accepted in full, whose rest is
  /// given back to the source; returns the bytes written.
  unsigned long Write(ZTKStreamBuffer* pSrc);

  const char* GetBufferStart() const noexcept { return m_pStart; }
  const char* GetBufferEnd() const noexcept { return m_pEnd; }
  const char* GetBufferPos() const noexcept { return m_pPos; }
  unsigned long GetBufferSize() const noexcept { return m_nSize; }
  /// Set for a new buffer.
  void SetFixed(int bFixed) noexcept;
  /// Whether the buffer may fill from and flush to its stream.
  void SetFlushable(int bFlushable) noexcept { m_bFlushable = bFlushable != 0; }

 protected:
  /// Forgets the storage without freeing it.
  void InitBuffer() noexcept;
  /// The same, and fixes the capacity.
  void Init() noexcept;
  /// Frees the storage if it is owned; the buffer has none then.
  void FreeBuffer() noexcept;

 private:
  friend class ZTKMemoryInputStream;
  friend class ZTKMemoryOutputStream;
  friend struct ZTKStreamLayout;

  // Of m_storage. A compiled program makes buffers with kOwned; the rest may change.
  enum : uint32_t {
    kOwned = 1,
    kRounded = 2,   // Not fixed, and the block is larger than m_nSize: rounded up.
    kShared = 4,    // Borrowed from another buffer: growing moves to a block of our own.
    kReadOnly = 8,  // Never stored into.
    kCut = 16,      // The bytes given were more than 32 bits can count.
    kFlags = 0xFF,
  };
  // Above the flags of a rounded block (else 0): a power of two that divides its size, less one.
  static constexpr int kStepShift = 8;

  size_t BytesToEnd() const noexcept { return static_cast<size_t>(m_pEnd - m_pPos); }
  size_t BytesFromStart() const noexcept { return static_cast<size_t>(m_pPos - m_pStart); }
  void SetLastCount(unsigned long nCount) noexcept {
    if (m_pStream != nullptr) m_pStream->m_nLastCount = ZTKClampCount(nCount);
  }
  void Adopt(void* pStart, unsigned long nSize, uint32_t storage) noexcept;
  // The position moves first: a compiler cannot know that the bytes are not the fields.
  void Consume(void* pDest, size_t nCount) noexcept {
    const char* const source = m_pPos;
    m_pPos += nCount;
    ZTKMoveBytes(pDest, source, nCount);
  }
  // Of the library alone, in internal/stream_buffer_storage.h.
  inline void Store(const void* pSrc, size_t nCount) noexcept;
  inline bool Overlaps(const char* pBytes, uint32_t nCount) const noexcept;
  inline bool CanHold(unsigned long nCount) const noexcept;
  inline bool CanAppend(size_t nCount) const noexcept;
  inline void Append(const void* pSrc, size_t nCount) noexcept;
  bool Grow(uint32_t nCount) noexcept;
  bool MoveToBlock(uint32_t nNewSize) noexcept;
  void PutPastEnd(const void* pSrc, uint32_t nCount) noexcept;
  bool FillFrom(ZTKInputStream* pIn);
  bool FlushTo(ZTKOutputStream* pOut);
  unsigned long ReadUnbuffered(void* pDest, uint32_t nCount);
  unsigned long ReadRefilling(char* pDest, uint32_t nCount);
  unsigned long WriteUnbuffered(const void* pSrc, uint32_t nCount);
  unsigned long WriteFlushing(const char* pSrc, uint32_t nCount);

  char* m_pStart = nullptr;
  char* m_pEnd = nullptr;
  char* m_pPos = nullptr;
  uint32_t m_nSize = 0;
  ZTKStreamBase* m_pStream = nullptr;  // Not owned.
  BufMode m_mode;
  uint32_t m_storage = kOwned;
  int32_t m_bFixed = 1;
  int32_t m_bFlushable = 0;
};
