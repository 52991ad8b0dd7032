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

/// A text buffer bound to a file.
class ZTK_API ZTKTextFile : public ZTKTextBuffer {
 public:
  /// Opt-in, off by default: read UTF-16BE in its own byte order.
  static bool ms_swapUtf16;

  explicit ZTKTextFile(const ZTKString& name);
  ~ZTKTextFile() override;

  bool OnExists() const override;
  bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) override;
  bool OnClose() override;
  bool OnRead() override;
  bool OnWrite(ZTKTextFileType type) override;

  unsigned short EncodedType();
  void ResetFilePointer();
  unsigned short GetEncoding() const noexcept { return m_nEncoding; }

 protected:
  bool OnReadA();
  bool OnReadW();
  void AddLineA(char* pszText, ZTKTextFileType type);
  void AddLineW(wchar_t* pszText, ZTKTextFileType type);
  void WriteBOM(ZTKTempFile& file, unsigned short nEncoding);
  bool OnWriteW(ZTKTempFile& file, const wchar_t* pszText, unsigned long nLength,
                unsigned short nEncoding);
  bool SwapStr(unsigned short* pText, unsigned long nLength);

 private:
  unsigned short m_nEncoding = ENC_ANSI;
  ZTKFile m_file;
};
