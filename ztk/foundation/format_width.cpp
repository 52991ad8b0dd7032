#include "ztk/foundation/internal/format_width.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "ztk/foundation/string.h"

namespace {

constexpr uint64_t kMax = ZTKString::kMaxLength;

// Arguments of one size and class are fetched alike.
enum class Kind : uint8_t { kNone, kInt, kLong, kLongLong, kDouble, kLongDouble, kPointer };
static_assert(sizeof(wint_t) <= sizeof(int));  // A smaller one is passed as an int.
static_assert(sizeof(size_t) == sizeof(ptrdiff_t));
constexpr Kind kSizeKind = sizeof(size_t) == sizeof(long) ? Kind::kLong : Kind::kLongLong;
static_assert(sizeof(size_t) == sizeof(long) || sizeof(size_t) == sizeof(long long));
static_assert(sizeof(intmax_t) == sizeof(long long));

bool IsDigit(char ch) { return ch >= '0' && ch <= '9'; }
bool IsOneOf(char ch, const char* pszSet) {
  return ch != '\0' && std::strchr(pszSet, ch) != nullptr;
}

/// A width or a precision: a number, or the argument that holds it.
struct Amount {
  bool isArgument = false;
  uint64_t number = 0;  // Or the position of the argument from 1 on; 0 is the next one.
};

/// "%[position$][flags][width][.precision][size]conversion"
struct Conversion {
  uint64_t position = 0;  // Of its argument; 0 is the next one.
  Amount width;
  Amount precision;
  Kind kind = Kind::kNone;
  bool isNumber = false;  // Its precision asks for digits.
};

Kind KindOfInteger(char size) {
  switch (size) {
    case 'l':
      return Kind::kLong;
    case 'z':
    case 't':
      return kSizeKind;
    case 'L':
    case 'j':
      return Kind::kLongLong;
    default:
      return Kind::kInt;
  }
}

/// Reads the conversions of a format one after the other.
class Reader {
 public:
  explicit Reader(const char* pszFormat) noexcept : m_at(pszFormat) {}

  /// False at the end and at what is no known conversion.
  bool Next(Conversion& conversion) noexcept {
    m_at = std::strchr(m_at, '%');
    if (m_at == nullptr) return false;
    ++m_at;
    conversion = Conversion{};
    const char* const start = m_at;
    const uint64_t position = ReadNumber();
    if (*m_at == '$') {
      ++m_at;
      conversion.position = position;
    } else {
      m_at = start;  // A width, or the flag '0' and one.
    }
    while (IsOneOf(*m_at, "-+ #0'I")) ++m_at;
    conversion.width = ReadAmount();
    if (*m_at == '.') {
      ++m_at;
      conversion.precision = ReadAmount();
    }
    const char size = ReadSize();
    return SetKind(conversion, size);
  }

 private:
  /// Stays at the first number beyond the maximum.
  uint64_t ReadNumber() noexcept {
    uint64_t number = 0;
    for (; IsDigit(*m_at); ++m_at) {
      if (number <= kMax) number = number * 10 + static_cast<unsigned>(*m_at - '0');
    }
    return number;
  }

  Amount ReadAmount() noexcept {
    if (*m_at != '*') return {false, ReadNumber()};
    ++m_at;
    const Amount amount{true, ReadNumber()};
    if (*m_at == '$') ++m_at;
    return amount;
  }

  /// 'L' for "ll", '\0' for none and for those that change no argument.
  char ReadSize() noexcept {
    if (*m_at == 'h') {
      m_at += m_at[1] == 'h' ? 2 : 1;
      return '\0';
    }
    if (m_at[0] == 'l' && m_at[1] == 'l') {
      m_at += 2;
      return 'L';
    }
    return IsOneOf(*m_at, "lLjzt") ? *m_at++ : '\0';
  }

  bool SetKind(Conversion& conversion, char size) noexcept {
    const char type = *m_at;
    if (type == '\0') return false;
    ++m_at;
    if (IsOneOf(type, "diouxXbB")) {
      conversion.kind = KindOfInteger(size);
      conversion.isNumber = true;
    } else if (IsOneOf(type, "aAeEfFgG")) {
      conversion.kind = size == 'L' ? Kind::kLongDouble : Kind::kDouble;
      conversion.isNumber = true;
    } else if (type == 'C' || type == 'c') {
      conversion.kind = Kind::kInt;
    } else if (IsOneOf(type, "sSpn")) {
      conversion.kind = Kind::kPointer;
      conversion.isNumber = type == 'p';
    } else {
      return type == '%' || type == 'm';
    }
    return true;
  }

  const char* m_at;
};

/// What the format says of the arguments, by position.
class Arguments {
 public:
  /// What an argument of type int must not exceed.
  enum Limit : uint8_t { kNoLimit = 0, kAsWidth = 1, kAsPrecision = 2 };

  /// Notes the argument at a position from 1 on, or, for 0, the next one.
  void Note(uint64_t nPosition, Kind kind, Limit limit) noexcept {
    const uint64_t i = nPosition > 0 ? nPosition - 1 : m_nNext++;
    if (i >= kMaxArguments) return;
    m_kinds[i] = kind;
    m_limits[i] = static_cast<uint8_t>(m_limits[i] | limit);
  }

  bool AnyTooWide(va_list args) const noexcept {
    va_list rest;
    va_copy(rest, args);
    bool isTooWide = false;
    // Ends at an argument that no conversion takes: its type is unknown.
    for (size_t i = 0; i < kMaxArguments && m_kinds[i] != Kind::kNone && !isTooWide; ++i) {
      switch (m_kinds[i]) {  // NOLINTBEGIN(bugprone-branch-clone): each takes another type.
        case Kind::kInt:
          isTooWide = IsTooWide(va_arg(rest, int), m_limits[i]);
          break;
        case Kind::kLong:
          (void)va_arg(rest, long);
          break;
        case Kind::kLongLong:
          (void)va_arg(rest, long long);
          break;
        case Kind::kDouble:
          (void)va_arg(rest, double);
          break;
        case Kind::kLongDouble:
          (void)va_arg(rest, long double);
          break;
        case Kind::kPointer:
          (void)va_arg(rest, void*);
          break;
        case Kind::kNone:
          break;
      }  // NOLINTEND(bugprone-branch-clone)
    }
    va_end(rest);
    return isTooWide;
  }

 private:
  static constexpr size_t kMaxArguments = 256;

  static bool IsTooWide(int nValue, uint8_t limits) noexcept {
    const auto value = static_cast<int64_t>(nValue);
    // A negative width is one to the left, a negative precision none at all.
    if ((limits & kAsWidth) != 0 && (value > int64_t{kMax} || -value > int64_t{kMax})) return true;
    return (limits & kAsPrecision) != 0 && value > int64_t{kMax};
  }

  uint64_t m_nNext = 0;
  Kind m_kinds[kMaxArguments] = {};
  uint8_t m_limits[kMaxArguments] = {};
};

/// Whether there is anything to look at: an argument that is a width, or a number of ten digits.
/// One of every ten characters in a row tells whether all of them may be digits.
bool MayBeTooWide(const char* pszFormat) noexcept {
  const size_t length = std::strlen(pszFormat);
  if (std::strchr(pszFormat, '*') != nullptr) return true;
  for (size_t i = 9; i < length; i += 10) {
    if (IsDigit(pszFormat[i])) return true;
  }
  return false;
}

}  // namespace

bool ZTKFormatIsTooWide(const char* pszFormat, va_list args) noexcept {
  if (!MayBeTooWide(pszFormat)) return false;
  Reader reader(pszFormat);
  Arguments arguments;
  for (Conversion conversion; reader.Next(conversion);) {
    const Amount& width = conversion.width;
    const Amount& precision = conversion.precision;
    if (width.isArgument) {
      arguments.Note(width.number, Kind::kInt, Arguments::kAsWidth);
    } else if (width.number > kMax) {
      return true;
    }
    if (precision.isArgument) {
      const auto limit = conversion.isNumber ? Arguments::kAsPrecision : Arguments::kNoLimit;
      arguments.Note(precision.number, Kind::kInt, limit);
    } else if (conversion.isNumber && precision.number > kMax) {
      return true;
    }
    if (conversion.kind != Kind::kNone) {
      arguments.Note(conversion.position, conversion.kind, Arguments::kNoLimit);
    }
  }
  return arguments.AnyTooWide(args);
}
