#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What a text file holds, worked out the slow way: one unit at a time through a table of states,
/// every conversion through code points. Shares nothing with the library.
namespace text_reference {

struct Line {
  std::string text;  // UTF-8
  int type;          // 0 none, 1 LF, 2 CR LF, 3 CR

  bool operator==(const Line& other) const = default;
  friend std::ostream& operator<<(std::ostream& stream, const Line& line) {
    return stream << '"' << line.text << "\"/" << line.type;
  }
};

inline void AppendUtf8(std::string& text, uint32_t codePoint) {
  const auto put = [&text](uint32_t byte) { text += static_cast<char>(byte); };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0 | codePoint >> 6), put(0x80 | (codePoint & 63));
  } else if (codePoint < 0x10000) {
    put(0xE0 | codePoint >> 12), put(0x80 | (codePoint >> 6 & 63)), put(0x80 | (codePoint & 63));
  } else {
    put(0xF0 | codePoint >> 18), put(0x80 | (codePoint >> 12 & 63));
    put(0x80 | (codePoint >> 6 & 63)), put(0x80 | (codePoint & 63));
  }
}

/// Whether `text` is well-formed UTF-8: decodes each sequence and encodes it again.
inline bool IsUtf8(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {  // Most are, and encoding them again would tell nothing.
      ++i;
      continue;
    }
    const size_t length = lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || i + length > text.size()) return false;
    uint32_t codePoint = lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      codePoint = codePoint << 6 | (static_cast<unsigned char>(text[i + k]) & 63);
    }
    std::string again;
    AppendUtf8(again, codePoint);
    const bool isScalar = codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint <= 0x10FFFF);
    if (!isScalar || again != text.substr(i, length)) return false;
    i += length;
  }
  return true;
}

inline std::string FromWindows1252(const std::string& text) {
  static constexpr uint16_t kSpecial[32] = {
      0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
  std::string result;
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    AppendUtf8(result, byte >= 0x80 && byte < 0xA0 ? kSpecial[byte - 0x80] : byte);
  }
  return result;
}

inline std::string FromUnits(const std::vector<uint32_t>& units) {
  std::string result;
  for (size_t i = 0; i < units.size(); ++i) {
    const uint32_t unit = units[i];
    const uint32_t next = i + 1 < units.size() ? units[i + 1] : 0;
    if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      AppendUtf8(result, 0x10000 + (unit - 0xD800) * 0x400 + (next - 0xDC00));
      ++i;
    } else {
      AppendUtf8(result, unit >= 0xD800 && unit < 0xE000 ? 0xFFFD : unit);
    }
  }
  return result;
}

/// The code points of well-formed UTF-8.
inline std::vector<uint32_t> CodePoints(const std::string& text) {
  std::vector<uint32_t> result;
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    if (byte < 0x80) {
      result.push_back(byte);
    } else if (byte < 0xC0) {
      result.back() = result.back() << 6 | (byte & 63);
    } else {
      result.push_back(byte & (byte < 0xE0 ? 31 : byte < 0xF0 ? 15 : 7));
    }
  }
  return result;
}

/// Splits units into lines: the raw units of each, and its type.
inline std::vector<std::pair<std::vector<uint32_t>, int>> Split(
    const std::vector<uint32_t>& units) {
  enum State { kText, kCr };
  enum Kind { kOther, kIsCr, kIsLf };
  enum Action { kTake, kHold, kEmptyMac, kEndUnix, kEndDos, kEndMacAndTake };
  struct Step {
    Action action;
    State next;
  };
  static constexpr Step kTable[2][3] = {
      {{kTake, kText}, {kHold, kCr}, {kEndUnix, kText}},
      {{kEndMacAndTake, kText}, {kEmptyMac, kCr}, {kEndDos, kText}},
  };

  std::vector<std::pair<std::vector<uint32_t>, int>> lines;
  std::vector<uint32_t> line;
  State state = kText;
  const auto end = [&](int type) {
    lines.emplace_back(line, type);
    line.clear();
  };
  for (const uint32_t unit : units) {
    const Step step = kTable[state][unit == 0x0D ? kIsCr : unit == 0x0A ? kIsLf : kOther];
    state = step.next;
    switch (step.action) {
      case kHold:
        break;
      case kEmptyMac:
        lines.emplace_back(std::vector<uint32_t>(), 3);
        break;
      case kEndUnix:
        end(1);
        break;
      case kEndDos:
        end(2);
        break;
      case kEndMacAndTake:
        end(3);
        line.push_back(unit);
        break;
      case kTake:
        line.push_back(unit);
        break;
    }
  }
  if (!line.empty()) end(0);
  return lines;
}

/// The encoding by the mark: 1 none, 2 UTF-8, 3 UTF-16LE, 4 UTF-16BE.
inline int Encoding(std::string_view bytes) {
  if (bytes.substr(0, 2) == "\xFF\xFE") return 3;
  if (bytes.substr(0, 2) == "\xFE\xFF") return 4;
  return bytes.substr(0, 3) == "\xEF\xBB\xBF" ? 2 : 1;
}

/// The lines of a file, in a "C" or UTF-8 locale, on a little-endian machine; `swapBe` reads
/// UTF-16BE in its own order.
inline std::vector<Line> Read(std::string_view bytes, bool swapBe = false) {
  const int encoding = Encoding(bytes);
  const bool isWide = encoding >= 3;
  bytes.remove_prefix(encoding == 1 ? 0 : encoding == 2 ? 3 : 2);

  std::vector<uint32_t> units;
  const auto byte = [&](size_t i) { return uint32_t{static_cast<unsigned char>(bytes[i])}; };
  if (isWide) {
    const bool swap = swapBe && encoding == 4;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      units.push_back(swap ? byte(i) << 8 | byte(i + 1) : byte(i) | byte(i + 1) << 8);
    }
  } else {
    for (size_t i = 0; i < bytes.size(); ++i) units.push_back(byte(i));
  }

  std::vector<Line> lines;
  for (auto& [line, type] : Split(units)) {
    for (size_t i = 0; i < line.size(); ++i) {
      if (line[i] == 0) line.resize(i);
    }
    std::string text;
    if (isWide) {
      text = FromUnits(line);
    } else {
      for (const uint32_t unit : line) text += static_cast<char>(unit);
      if (encoding == 1 && !IsUtf8(text)) text = FromWindows1252(text);
    }
    lines.push_back({text, type});
  }
  return lines;
}

/// The lines of 8-bit text, up to their NULs, with their bytes as they are.
inline std::vector<Line> ReadBytes(std::string_view bytes) {
  std::vector<uint32_t> units;
  for (const char ch : bytes) units.push_back(static_cast<unsigned char>(ch));
  std::vector<Line> lines;
  for (const auto& [line, type] : Split(units)) {
    std::string text;
    for (const uint32_t unit : line) {
      if (unit == 0) break;
      text += static_cast<char>(unit);
    }
    lines.push_back({text, type});
  }
  return lines;
}

/// The file that these lines are written as; `type` 0 keeps each line's own line end.
inline std::string Write(const std::vector<Line>& lines, int type) {
  static constexpr std::string_view kEnds[] = {"", "\n", "\r\n", "\r"};
  std::string bytes = lines.empty() ? "" : "\xEF\xBB\xBF";
  for (const Line& line : lines) {
    bytes += line.text;
    bytes += kEnds[type != 0 ? type : line.type];
  }
  return bytes;
}

/// The file that one of these bytes is written as when its encoding is kept, each line with its own
/// line end and UTF-16BE in its own order.
inline std::string WriteKept(std::string_view bytes) {
  static constexpr std::string_view kEnds[] = {"", "\n", "\r\n", "\r"};
  const std::vector<Line> lines = Read(bytes, true);
  const int encoding = Encoding(bytes);
  if (encoding == 1) {
    bool hasUtf8 = false;
    bool hasOther = false;
    std::string asTheyAre;
    for (const Line& line : ReadBytes(bytes)) {
      bool isAscii = true;
      for (const char ch : line.text) isAscii &= static_cast<unsigned char>(ch) < 0x80;
      if (!isAscii) (IsUtf8(line.text) ? hasUtf8 : hasOther) = true;
      asTheyAre.append(line.text).append(kEnds[line.type]);
    }
    if (!hasUtf8 || !hasOther) return asTheyAre;
    // Of both kinds: there was no one encoding, and it becomes UTF-8 without a mark.
    return Write(lines, 0).substr(3);
  }
  if (encoding == 2) return Write(lines, 0);

  std::string result;
  const auto put = [&](uint32_t unit) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    result += encoding == 4 ? high : low;
    result += encoding == 4 ? low : high;
  };
  if (!lines.empty()) put(0xFEFF);
  for (const Line& line : lines) {
    for (const uint32_t codePoint : CodePoints(line.text)) {
      if (codePoint >= 0x10000) put(0xD800 + (codePoint - 0x10000) / 0x400);
      put(codePoint < 0x10000 ? codePoint : 0xDC00 + (codePoint - 0x10000) % 0x400);
    }
    for (const char ch : kEnds[line.type]) put(static_cast<unsigned char>(ch));
  }
  return result;
}

}  // namespace text_reference
