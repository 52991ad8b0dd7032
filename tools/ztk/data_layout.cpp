#include "tools/ztk/data_layout.h"

#include <array>
#include <charconv>

#include "tools/ztk/failure.h"

namespace {

struct Kind {
  FieldType type;
  std::string_view name;
  size_t nSize;
};

constexpr std::array<Kind, 11> kKinds = {{{FieldType::kU8, "u8", 1},
                                          {FieldType::kI8, "i8", 1},
                                          {FieldType::kU16, "u16", 2},
                                          {FieldType::kI16, "i16", 2},
                                          {FieldType::kU32, "u32", 4},
                                          {FieldType::kI32, "i32", 4},
                                          {FieldType::kU64, "u64", 8},
                                          {FieldType::kI64, "i64", 8},
                                          {FieldType::kF80, "f80", 10},
                                          {FieldType::kString, "str", 4},
                                          {FieldType::kSkip, "skip", 1}}};

constexpr std::string_view kBlanks = " \t\r\n,";

const Kind& KindOf(FieldType type) {
  for (const Kind& kind : kKinds) {
    if (kind.type == type) return kind;
  }
  return kKinds[0];
}

[[noreturn]] void Refuse(std::string_view word, const std::string& why) {
  throw Failure(kUsage, "layout: \"" + std::string(word) + "\" " + why);
}

Field ParseWord(std::string_view word) {
  const size_t star = word.find('*');
  const std::string_view name = word.substr(0, star);
  Field field;
  bool isKnown = false;
  for (const Kind& kind : kKinds) {
    if (kind.name != name) continue;
    field.type = kind.type;
    isKnown = true;
  }
  if (!isKnown) Refuse(word, "is none of u8 i8 u16 i16 u32 i32 u64 i64 f80 str skip");
  if (star == std::string_view::npos) return field;

  const std::string_view count = word.substr(star + 1);
  field.untilEnd = count.empty();
  if (field.untilEnd) return field;
  const char* const pEnd = count.data() + count.size();
  const auto [pStop, error] = std::from_chars(count.data(), pEnd, field.nCount);
  if (error != std::errc() || pStop != pEnd) Refuse(word, "has no number behind its \"*\"");
  return field;
}

}  // namespace

std::vector<Field> ParseLayout(std::string_view text) {
  std::vector<Field> fields;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (text.empty()) break;
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    if (!fields.empty() && fields.back().untilEnd)
      Refuse(word, "stands behind a field that takes all");
    fields.push_back(ParseWord(word));
    text.remove_prefix(word.size());
  }
  if (fields.empty()) throw Failure(kUsage, "layout: there is nothing in it");
  return fields;
}

std::string_view FieldName(FieldType type) { return KindOf(type).name; }

size_t FieldSize(FieldType type) { return KindOf(type).nSize; }
