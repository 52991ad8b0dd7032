#pragma once

#include <cstdint>

#include "ztk/stream/stream_base.h"

class ZTKOutputStream;

/// A source of bytes. A concrete source overrides `OnSysRead`, and `OnSysSeek`, `OnSysTell` and
/// `GetSize` where it can.
///
/// Bytes pushed back with `Ungetch` are delivered before the source is asked again, the block
/// pushed last first. A read may deliver fewer bytes than asked for; `LastRead()` tells how many,
/// `GetLastError()`, `CanRead()` and `Eof()` why.
class ZTK_API ZTKInputStream : public ZTKStreamBase {
 public:
  ZTKInputStream() noexcept = default;
  ~ZTKInputStream() override;

  /// The next byte, which stays to be read; 0 when an error stands after reading it.
  /// Without an error a byte is pushed back even when the source delivered none (a 0 then).
  virtual char Peek();
  /// Reads until `nCount` bytes are there, or the source gives nothing or ends. Null reads nothing.
  virtual ZTKInputStream& Read(void* pBuffer, unsigned long nCount);
  virtual unsigned long LastRead() const;
  /// False after the end of the data, unless pushed-back bytes remain.
  virtual bool CanRead() const;
  /// True after a read has met the end of the data, unless pushed-back bytes remain.
  virtual bool Eof() const;
  /// Drops what was pushed back, clears the end-of-data error and moves the source.
  /// `ZTKFromCurrent` counts from the source's position, not from the pushed-back view.
  virtual long SeekI(long nOffset, ZTKSeekMode mode);
  /// The source's position less the pushed-back bytes, which may be negative; -1 when the source
  /// cannot tell.
  virtual long TellI() const;
  /// Reads up to `nCount` bytes, never 0, from the source and returns how many; 0 ends a read. A
  /// result above `nCount` counts as `nCount`.
  virtual unsigned long OnSysRead(void* pBuffer, unsigned long nCount) = 0;

  /// The next byte; 0 when there is none (`LastRead()` tells).
  char GetC() {
    char ch = 0;
    Read(&ch, 1);
    return ch;
  }
  /// Copies all that is left to `out` in pieces of 5120 bytes, until a piece is not accepted in
  /// full. What was read and not accepted is lost.
  ZTKInputStream& Read(ZTKOutputStream& out);

  /// Pushes bytes back in front of all others and clears the end-of-data error. Returns `nCount`,
  /// or 0 when nothing was pushed: no bytes given, a read or write error stands, or no memory.
  unsigned long Ungetch(const void* pBuffer, unsigned long nCount);
  bool Ungetch(char ch);

 protected:
  /// Consumes up to `nCount` pushed-back bytes and returns how many.
  unsigned long GetWBack(void* pBuffer, unsigned long nCount) noexcept {
    return m_pWBack == nullptr ? 0 : ConsumeWBack(pBuffer, nCount);
  }
  /// Room for `nCount` bytes in front of those still pushed back, which the caller fills at once;
  /// null, with nothing changed, when there is no memory for it.
  char* AllocSpaceWBack(unsigned long nCount) noexcept;
  void FreeWBack() noexcept;
  /// Pushed-back bytes that were not read yet.
  uint32_t WBackLeft() const noexcept { return m_nWBackSize - m_nWBackPos; }

 private:
  friend struct ZTKStreamLayout;

  ZTKInputStream& ReadUnusual(char* pNext, unsigned long nCount);
  void ReadOn(char* pNext, unsigned long nRemaining, unsigned long nTaken);
  unsigned long ConsumeWBack(void* pBuffer, unsigned long nCount) noexcept;

  char* m_pWBack = nullptr;   // Pushed-back bytes, owned; null when there are none.
  uint32_t m_nWBackSize = 0;  // Bytes in that storage.
  uint32_t m_nWBackPos = 0;   // Bytes of it already read.
};
