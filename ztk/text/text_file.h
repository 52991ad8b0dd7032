#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/file/temp_file.h"
#include "ztk/text/text_buffer.h"

/// The encoding found at the start of a text file. The values are stored and compared.
enum ZTKTextEncoding : unsigned short {
  ENC_NONE = 0,     ///< No file open.
  ENC_ANSI = 1,     ///< No mark: the system's code page.
  ENC_UTF8 = 2,     ///< EF BB BF
  ENC_UTF16LE = 3,  ///< FF FE
  ENC_UTF16BE = 4,  ///< FE FF
};

class ZTKBlockWriter;

/// Opt-ins, added up with `|`.
enum ZTKTextFileOption : unsigned int {
  TEXT_ONE_STEP = TEMP_ONE_STEP,            ///< Writing is checked, synced, and done in one step.
  TEXT_FOLLOW_LINKS = TEMP_FOLLOW_LINKS,    ///< A symbolic link stays one.
  TEXT_KEEP_IDENTITY = TEMP_KEEP_IDENTITY,  ///< Hard links stay links to one file.
  /// UTF-16BE is read in its own byte order, as with `ms_swapUtf16`.
  TEXT_SWAP_UTF16 = 8,
  /// The file is written in the encoding, and with the mark, that the last reading found; as UTF-8
  /// with a mark when it was empty or not read. `Write` is false, and the file as it was, when a
  /// line holds a character that the encoding lacks.
  TEXT_KEEP_ENCODING = 16,
};

/// What was found while a text file was read.
struct ZTKTextReport {
  unsigned short nEncoding = ENC_NONE;  ///< Every encoding but `ENC_ANSI` has a mark.
  bool bOddByte = false;                ///< UTF-16 ended inside a unit; that byte was ignored.
  bool bPastLimit = false;              ///< Given up at `ZTKTextFile::ms_nStreamLimit`.
  std::int64_t nBytes = 0;              ///< The length of the file, its mark included.
  unsigned long nLines[4] = {};         ///< Lines by the value of their line-end type.
  std::int64_t nNuls = 0;  ///< NUL characters; what is behind them in their lines was dropped.
  /// Where the first part starts that is no UTF-8 (`ENC_ANSI`: Windows-1252 or the like), or in
  /// UTF-16 the first lone surrogate; -1 for none.
  std::int64_t nFirstIllFormed = -1;
};

/// A text buffer bound to a file; its name is the file's path.
///
/// `Open` reads a whole file, tells its encoding by the mark at its start and holds every line as
/// UTF-8. `Write` replaces the file by the lines in UTF-8, with a mark and through a temporary
/// file; ZTKTextFileOption has other ways. Both are false for what cannot be read or replaced. The
/// name is best absolute: a relative one is read as it stands, but written after `XPNormalize`,
/// which also resolves "..", "~" and environment variables. With any option it is written as it
/// stands, too. docs/text-files.md tells the format byte by byte.
class ZTK_API ZTKTextFile : public ZTKTextBuffer {
 public:
  /// Off by default: read UTF-16BE in its own byte order. Otherwise its bytes are taken as UTF-16LE
  /// on every machine, and such a file is one line of the wrong characters.
  static bool ms_swapUtf16;

  /// The most bytes read of what is no regular file, 64 MiB at first: a device may have no end.
  /// When there are more, `Open` is false, with the lines in front of the limit.
  static std::int64_t ms_nStreamLimit;

  explicit ZTKTextFile(const ZTKString& name);
  /// `nOptions`: ZTKTextFileOption.
  ZTKTextFile(const ZTKString& name, unsigned int nOptions);
  /// Closes the file; nothing is written.
  ~ZTKTextFile() override;

  bool OnExists() const override;
  /// Opens the file, emptied for `OPEN_CREATE`, and detects its encoding, which a failure leaves.
  bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) override;
  bool OnClose() override;
  /// False when no file is open, a read or an allocation fails, or `ms_nStreamLimit` is passed.
  bool OnRead() override;
  /// False when the temporary file cannot be opened or put in the file's place. A failure of a
  /// single write shows only in strict mode (ZTKFile::ms_strict) and with `TEXT_ONE_STEP`.
  bool OnWrite(ZTKTextFileType type) override;

  using ZTKTextBuffer::Open;
  /// Opens the file as ever, and tells what was found; after a failure, what had been found so far.
  bool Open(ZTKTextReport& report);

  /// The options (ZTKTextFileOption) for the next reading or writing.
  void SetOptions(unsigned int nOptions) noexcept;
  unsigned int GetOptions() const noexcept { return m_nOptions; }

  /// Detects the encoding at the start of the open file and leaves the position behind the mark.
  unsigned short EncodedType();
  /// Back to the start of the open file.
  void ResetFilePointer();
  /// What the last `OnOpen` found; `ENC_ANSI` at first.
  unsigned short GetEncoding() const noexcept { return m_nEncoding; }

 protected:
  /// Read the rest of the open file as 8-bit text, or as 16-bit units.
  bool OnReadA();
  bool OnReadW();
  /// Add one line, converted to UTF-8 from the file's encoding or from wide text; null: none.
  void AddLineA(char* pszText, ZTKTextFileType type);
  void AddLineW(wchar_t* pszText, ZTKTextFileType type);

  // Kept for the interface; nothing here calls them.

  /// Writes the mark of UTF-8, for the two UTF-16 encodings as well; nothing for other encodings.
  void WriteBOM(ZTKTempFile& file, unsigned short nEncoding);
  /// Writes `pszText` up to its NUL as UTF-8, or in the system's code page for other than the
  /// Unicode encodings. `nLength` is not used. True if anything was written.
  bool OnWriteW(ZTKTempFile& file, const wchar_t* pszText, unsigned long nLength,
                unsigned short nEncoding);
  /// True; swaps nothing.
  bool SwapStr(unsigned short* pText, unsigned long nLength);

 private:
  friend struct ZTKTextFileLayout;
  friend class ZTKFileConfig;
  class ZTK_LOCAL ByteLines;
  class ZTK_LOCAL UnitLines;
  class ZTK_LOCAL ReportScope;

  // What reading found, for writing the same again.
  enum Found : uint8_t {
    kNothingFound = 0,
    kSomething = 1,  // The file was not empty.
    kBigEndian = 2,  // UTF-16, taken most significant byte first.
    kUtf8 = 4,       // Lines without a mark in front that are UTF-8 beyond ASCII,
    kLegacy = 8,     // and others that are not.
  };

  bool Has(ZTKTextFileOption option) const noexcept { return (m_nOptions & option) != 0; }
  void NoteFound(Found found) noexcept { m_nFound = static_cast<uint8_t>(m_nFound | found); }
  bool HasFound(Found found) const noexcept { return (m_nFound & found) != 0; }
  ZTKString TargetPath() const;
  bool WriteTo(ZTKTempFile& file, ZTKTextFileType type) const;
  template <typename Encoder>
  bool WriteLines(ZTKBlockWriter& writer, ZTKTextFileType type, Encoder encoder) const;

  template <typename Unit, typename Sink>
  bool ReadLines();
  std::int64_t Limit() const noexcept;
  void ReserveForRest(unsigned long nBytes, unsigned long nLines) noexcept;
  bool AppendSystemLine(const char* pszText, unsigned long nLength, ZTKTextFileType type);

  unsigned short m_nEncoding = ENC_ANSI;
  uint8_t m_nOptions = 0;
  uint8_t m_nFound = kNothingFound;
  ZTKFile m_file;  // Open while a read is under way.
};
