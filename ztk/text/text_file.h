#pragma once

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/text/text_buffer.h"

class ZTKTempFile;

/// The encoding found at the start of a text file. The values are stored and compared.
enum ZTKTextEncoding : unsigned short {
  ENC_NONE = 0,     ///< No file open.
  ENC_ANSI = 1,     ///< No mark: the system's code page.
  ENC_UTF8 = 2,     ///< EF BB BF
  ENC_UTF16LE = 3,  ///< FF FE
  ENC_UTF16BE = 4,  ///< FE FF
};

/// A text buffer bound to a file; its name is the file's path.
///
/// `Open` reads a whole file, tells its encoding by the mark at its start and holds every line as
/// UTF-8. `Write` replaces the file by the lines in UTF-8, with a mark and through a temporary
/// file, whatever it was before. What cannot be read or replaced makes the two return false. The
/// name is best absolute: a relative one is read as it stands, but written after `XPNormalize`,
/// which also resolves "..", "~" and environment variables. docs/text-files.md tells the format
/// byte by byte.
class ZTK_API ZTKTextFile : public ZTKTextBuffer {
 public:
  /// Opt-in, off by default: read UTF-16BE in its own byte order. Otherwise its bytes are taken in
  /// the machine's order, and such a file is one line of the wrong characters.
  static bool ms_swapUtf16;

  explicit ZTKTextFile(const ZTKString& name);
  /// Closes the file; nothing is written.
  ~ZTKTextFile() override;

  bool OnExists() const override;
  /// Opens the file, emptied for `OPEN_CREATE`, and detects its encoding. On failure the encoding
  /// stays what it was.
  bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) override;
  bool OnClose() override;
  /// False when no file is open, a read fails or memory runs out.
  bool OnRead() override;
  /// False when the temporary file cannot be opened or put in the file's place. A failure of a
  /// single write shows only in strict mode (ZTKFile::ms_strict).
  bool OnWrite(ZTKTextFileType type) override;

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
  /// Add one line, converted to UTF-8 from the file's encoding or from wide text; null adds
  /// nothing.
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
  class ByteLines;
  class UnitLines;

  void ReserveForRest(unsigned long nBytes, unsigned long nLines) noexcept;
  bool AppendSystemLine(const char* pszText, unsigned long nLength, ZTKTextFileType type);

  unsigned short m_nEncoding = ENC_ANSI;
  ZTKFile m_file;  // Open while a read is under way.
};
