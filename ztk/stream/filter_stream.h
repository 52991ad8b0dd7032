#pragma once

#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"

/// The base of input streams that read from another input stream, the parent.
///
/// The parent is not owned and must outlive the filter. Without a parent there is no data.
/// `Peek` looks at the parent and knows nothing of bytes pushed back into the filter.
class ZTK_API ZTKFilterInputStream : public ZTKInputStream {
 public:
  ZTKFilterInputStream() noexcept = default;
  explicit ZTKFilterInputStream(ZTKInputStream& parent) noexcept : m_pParent(&parent) {}
  ~ZTKFilterInputStream() override;

  unsigned long GetSize() const override;
  char Peek() override;

 protected:
  ZTKInputStream* m_pParent = nullptr;  // Not owned.

 private:
  friend struct ZTKStreamLayout;
};

/// The base of output streams that write to another output stream, the parent.
///
/// The parent is not owned and must outlive the filter.
class ZTK_API ZTKFilterOutputStream : public ZTKOutputStream {
 public:
  ZTKFilterOutputStream() noexcept = default;
  explicit ZTKFilterOutputStream(ZTKOutputStream& parent) noexcept : m_pParent(&parent) {}
  ~ZTKFilterOutputStream() override;

  unsigned long GetSize() const override;

 protected:
  ZTKOutputStream* m_pParent = nullptr;  // Not owned.

 private:
  friend struct ZTKStreamLayout;
};
