#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// One kind of value in a data stream.
enum class FieldType { kU8, kI8, kU16, kI16, kU32, kI32, kU64, kI64, kF80, kString, kSkip };

/// A run of values of one kind.
struct Field {
  FieldType type = FieldType::kU8;
  uint64_t nCount = 1;
  bool untilEnd = false;  ///< As many as there are; nothing may follow.
};

/// The fields that a text names, in their order:
///
///     u8 i8 u16 i16 u32 i32 u64 i64    an integer of so many bits, without or with a sign
///     f80                              a floating-point value of ten bytes
///     str                              a string: four bytes of length, and the text
///     skip                             a byte that is not shown
///     u16*3                            three of them
///     str*                             as many as there are, in the last place
///
/// Throws a Failure (wrong usage) that names the word it does not understand.
std::vector<Field> ParseLayout(std::string_view text);

/// "u32".
std::string_view FieldName(FieldType type);

/// The bytes that one value takes, a string's length without its text.
size_t FieldSize(FieldType type);
