#include "tools/ztk/data_reader.h"

#include <utility>

#include "tools/ztk/failure.h"

namespace {

// In front of the text of a string.
constexpr size_t kLengthSize = 4;

}  // namespace

DataReader::DataReader(const std::string& bytes, std::vector<Field> layout,
                       ZTKDataStream::BytesOrder order)
    : m_bytes(bytes),
      m_layout(std::move(layout)),
      m_in(bytes.data(), static_cast<unsigned long>(bytes.size())),
      m_data(m_in) {
  m_data.SetNetWorkByteOrderTo(order);
}

std::optional<DataValue> DataReader::Next() {
  while (FindField()) {
    const FieldType type = m_layout[m_field].type;
    Need(FieldSize(type), type);
    ++m_nDone;
    DataValue value = ReadValue(type);
    if (type != FieldType::kSkip) return value;
  }
  return std::nullopt;
}

bool DataReader::FindField() {
  for (; m_field < m_layout.size(); ++m_field, m_nDone = 0) {
    const Field& field = m_layout[m_field];
    if (field.untilEnd ? Left() != 0 : m_nDone < field.nCount) return true;
  }
  return false;
}

DataValue DataReader::ReadValue(FieldType type) {
  DataValue result{m_offset, type, {}};
  m_offset += FieldSize(type);
  switch (type) {
    case FieldType::kU8:
    case FieldType::kSkip:
      result.value = uint64_t{m_data.Read8()};
      break;
    case FieldType::kI8:
      result.value = int64_t{static_cast<int8_t>(m_data.Read8())};
      break;
    case FieldType::kU16:
      result.value = uint64_t{m_data.Read16()};
      break;
    case FieldType::kI16:
      result.value = int64_t{static_cast<int16_t>(m_data.Read16())};
      break;
    case FieldType::kU32:
      result.value = uint64_t{m_data.Read32()};
      break;
    case FieldType::kI32:
      result.value = int64_t{static_cast<int32_t>(m_data.Read32())};
      break;
    case FieldType::kU64:
      result.value = uint64_t{m_data.Read64()};
      break;
    case FieldType::kI64:
      result.value = static_cast<int64_t>(m_data.Read64());
      break;
    case FieldType::kF80:
      result.value = m_data.ReadIeeeExtended();
      break;
    case FieldType::kString:
      result.value = ReadText();
      break;
  }
  return result;
}

// The text as it stands, a mark or a NUL in it included, which ReadString would not show.
std::string DataReader::ReadText() {
  const uint64_t nLength = m_data.Read32();
  if (nLength > Left()) {
    m_offset -= kLengthSize;  // The message tells where the string begins.
    Need(kLengthSize + nLength, FieldType::kString);
  }
  std::string text(static_cast<size_t>(nLength), '\0');
  m_in.Read(text.data(), static_cast<unsigned long>(text.size()));
  m_offset += nLength;
  return text;
}

void DataReader::Need(uint64_t nCount, FieldType type) const {
  if (nCount <= Left()) return;
  throw Failure(kNo, "at byte " + std::to_string(m_offset) + ": " + std::string(FieldName(type)) +
                         " needs " + std::to_string(nCount) + " bytes, " + std::to_string(Left()) +
                         " are left");
}
