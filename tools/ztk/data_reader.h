#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/ztk/data_layout.h"
#include "ztk/stream/data_stream.h"
#include "ztk/stream/memory_stream.h"

/// One value of a data stream and where it stood.
struct DataValue {
  uint64_t nOffset;
  FieldType type;
  std::variant<uint64_t, int64_t, double, std::string> value;
};

/// Reads the fields of a layout, one by one, from bytes that someone else owns.
class DataReader {
 public:
  /// The bytes must outlive the reader.
  DataReader(const std::string& bytes, std::vector<Field> layout, ZTKDataStream::BytesOrder order);

  /// The next value, bytes to be skipped left out; nothing at the end of the layout. Throws a
  /// Failure that tells the offset when the data end before the value does.
  std::optional<DataValue> Next();

  /// The bytes behind the values read so far.
  uint64_t Left() const { return m_bytes.size() - m_offset; }

 private:
  bool FindField();
  DataValue ReadValue(FieldType type);
  std::string ReadText();
  void Need(uint64_t nCount, FieldType type) const;

  const std::string& m_bytes;
  std::vector<Field> m_layout;
  ZTKMemoryInputStream m_in;
  ZTKDataStream m_data;
  uint64_t m_offset = 0;
  size_t m_field = 0;
  uint64_t m_nDone = 0;  // Values of the current field.
};
