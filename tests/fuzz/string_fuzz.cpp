#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/text_conversion.h"

// Runs a list of string operations, read from the input, on a string and on a model of it, and
// compares characters, recorded sizes and results after each. Arguments are texts of the input or
// parts of the string itself. Some runs start in a borrowed block, which must not show.

namespace {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "string_fuzz: %s\n", what);
  std::abort();
}

/// Hands out the input piece by piece; zeroes once it has run out.
class Input {
 public:
  Input(const uint8_t* pData, size_t nSize) : m_data(pData), m_rest(nSize) {}

  bool IsEmpty() const { return m_rest == 0; }
  unsigned Byte() {
    if (m_rest == 0) return 0;
    --m_rest;
    return *m_data++;
  }
  /// A character of a small alphabet, so that texts match often.
  char Character() {
    static const char kAlphabet[] = "aabbAB c\t\x7F\xC3\xA9\xFF";
    return kAlphabet[Byte() % (sizeof kAlphabet - 1)];
  }
  std::string Text() {
    size_t length = Byte();
    length = length < 200 ? length % 12 : length;
    std::string text;
    for (size_t i = 0; i < length; ++i) text += Character();
    return text;
  }
  /// A number that is small as a rule and sometimes as large as can be.
  unsigned long Number() {
    const unsigned byte = Byte();
    if (byte == 0xFF) return static_cast<unsigned long>(-1);
    return byte >= 0xF0 ? static_cast<unsigned long>(-1) - byte : byte % 40;
  }

 private:
  const uint8_t* m_data;
  size_t m_rest;
};

bool IsSpace(char ch) { return ch == ' ' || (ch >= '\t' && ch <= '\r'); }

/// What a string is expected to hold and to report, by the written rules.
struct Model {
  std::string text;
  unsigned long allocated = 0;
  unsigned long dataLength = 0;

  static unsigned long Rule(unsigned long n) { return n / 16 * 16 + 20; }
  unsigned long Length() const { return static_cast<unsigned long>(text.size()); }

  void Alloc(unsigned long n) {
    if (allocated > n) return;
    dataLength = allocated == 0 ? 0 : Length();
    allocated = Rule(n);
  }
  void Append(const std::string& more) {
    if (more.empty()) return;
    Alloc(Length() + static_cast<unsigned long>(more.size()));
    text += more;
    dataLength = Length();
  }
  void Empty() {
    text.clear();
    dataLength = 0;
  }
  void Assign(const std::string& other) {
    if (text == other) return;
    Empty();
    Append(other);
  }
  void InitWith(const std::string& other) {
    if (other.empty()) return;
    text = other;
    allocated = Rule(Length());
    dataLength = Length();
  }
  void Shrink() {
    if (dataLength == allocated || text.empty()) return;
    allocated = dataLength = Length();
  }
  void Printf(const std::string& result) {
    for (unsigned long size = 1024;; size *= 2) {
      Alloc(size);
      if (result.size() <= size) break;
      text = result.substr(0, size);
    }
    text = result;
    Shrink();
  }
  unsigned long Replace(const std::string& wanted, const std::string& put, bool all) {
    if (wanted.empty()) return 0;
    std::string result;
    unsigned long count = 0;
    size_t start = 0;
    for (size_t at; (at = text.find(wanted, start)) != std::string::npos;) {
      result += text.substr(start, at - start) + put;
      start = at + wanted.size();
      ++count;
      if (!all) break;
    }
    if (count != 0) Assign(result + text.substr(start));
    return count;
  }
  std::string Mid(unsigned long first, unsigned long count) const {
    return first < text.size() ? text.substr(first, count) : std::string();
  }
};

/// An argument: a text of the input, or a part of the string that is being changed.
class Argument {
 public:
  Argument(Input& input, const ZTKString& text, const Model& model) {
    const unsigned kind = input.Byte();
    if (kind % 3 == 0 && text.AllocatedSize() != 0) {
      const size_t offset = kind / 3 % (model.text.size() + 1);
      m_value = model.text.substr(offset);
      m_own = text.c_str() + offset;
    } else {
      m_value = input.Text();
    }
  }
  const char* Pointer() const { return m_own != nullptr ? m_own : m_value.c_str(); }
  const std::string& Value() const { return m_value; }

 private:
  std::string m_value;
  const char* m_own = nullptr;
};

long Position(size_t position) {
  return position == std::string::npos ? -1 : static_cast<long>(position);
}

int Sign(int n) { return (n > 0) - (n < 0); }

char Lower(char ch) {
  return ch == '\xFF' ? ch : static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
}

int CompareNoCase(const std::string& a, const std::string& b) {
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (Lower(a[i]) == Lower(b[i])) continue;
    return static_cast<signed char>(a[i]) < static_cast<signed char>(b[i]) ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

void Change(Input& input, ZTKString& text, Model& model) {
  const unsigned operation = input.Byte() % 20;
  const Argument first(input, text, model);
  switch (operation) {
    case 0:
      text.append(first.Pointer());
      return model.Append(first.Value());
    case 1: {
      const unsigned long length = input.Number();
      const unsigned long maximum = input.Number();
      text.ConcatSelf(length, first.Pointer(), maximum);
      return model.Append(first.Value().substr(0, std::min(length, maximum)));
    }
    case 2: {
      const char ch = input.Character();
      const unsigned long count = input.Byte() % 64;
      text.append(ch, count);
      return model.Append(std::string(count, ch));
    }
    case 3:
      text += text;
      return model.Append(std::string(model.text));
    case 4:
      text = first.Pointer();
      return model.Assign(first.Value());
    case 5:
      text = ZTKString(first.Pointer());
      return model.Assign(first.Value());
    case 6: {
      const char ch = input.Character();
      text = ch;
      model.Empty();
      return model.Append(std::string(1, ch));
    }
    case 7: {
      const unsigned long offset = input.Byte() % (first.Value().size() + 1);
      text.InitWith(first.Pointer(), offset, static_cast<unsigned long>(-1));
      return model.InitWith(first.Value().substr(offset));
    }
    case 8: {
      const unsigned width = input.Byte();
      std::string result = first.Value() + '-' + model.text;
      result.append(std::max(width, 1u) - 1, ' ').push_back('7');
      const int length =
          text.Printf("%s-%s%*d", first.Pointer(), text.c_str(), static_cast<int>(width), 7);
      Require(length == static_cast<int>(result.size()), "Printf returns the length");
      return model.Printf(result);
    }
    case 9: {
      const bool all = input.Byte() % 2 != 0;
      const Argument second(input, text, model);
      const unsigned long count = text.Replace(first.Pointer(), second.Pointer(), all);
      Require(count == model.Replace(first.Value(), second.Value(), all), "Replace counts");
      return;
    }
    case 10: {
      const unsigned long position = input.Number();
      const unsigned long count = input.Number();
      text.erase(position, count);
      if (position < model.text.size()) model.text.erase(position, count);
      return;
    }
    case 11: {
      const unsigned long length = input.Number();
      text.Truncate(length);
      if (length < model.text.size()) model.text.resize(length);
      return;
    }
    case 12:
      text.Trim(1);
      while (!model.text.empty() && IsSpace(model.text.back())) model.text.pop_back();
      return;
    case 13:
      text.Trim(0);
      while (!model.text.empty() && IsSpace(model.text.front())) model.text.erase(0, 1);
      return;
    case 14:
      text.MakeLower();
      std::transform(model.text.begin(), model.text.end(), model.text.begin(), Lower);
      return;
    case 15:
      Require(text.Shrink(), "Shrink succeeds");
      return model.Shrink();
    case 16: {
      const unsigned long length = input.Byte() * 8;
      Require(text.Alloc(length), "Alloc succeeds");
      return model.Alloc(length);
    }
    case 17:
      text.Empty();
      return model.Empty();
    case 18:
      text.Clear();
      model = Model();
      return;
    default:
      text << -12345 << 67890ul;
      model.Append("-12345");
      return model.Append("67890");
  }
}

void Look(Input& input, const ZTKString& text, const Model& model) {
  const Argument wanted(input, text, model);
  const char ch = input.Character();
  const unsigned long number = input.Number();
  const std::string& value = wanted.Value();
  const bool isEmpty = model.text.empty();

  Require(text.Find(ch, 0) == Position(model.text.find(ch)), "Find a character");
  Require(text.Find(ch, 1) == Position(model.text.rfind(ch)), "Find a character from the end");
  if (!value.empty()) {
    Require(text.Find(wanted.Pointer()) == Position(model.text.find(value)), "Find a text");
  }
  Require(text.FindFirstOf(wanted.Pointer()) == Position(model.text.find_first_of(value)),
          "FindFirstOf");
  Require(text.FindLastOf(wanted.Pointer()) == Position(model.text.find_last_of(value)),
          "FindLastOf");
  Require(Sign(text.Cmp(wanted.Pointer())) == Sign(model.text.compare(value)), "Cmp");
  Require(text.CmpNoCase(wanted.Pointer()) == CompareNoCase(model.text, value), "CmpNoCase");
  Require(text.Mid(number, 5).c_str() == model.Mid(number, 5), "Mid");
  Require(text.Left(number).c_str() == model.text.substr(0, number), "Left");
  const size_t right = std::min<size_t>(number, model.text.size());
  Require(text.Right(number).c_str() == model.text.substr(model.text.size() - right), "Right");
  Require(text[number] == (number < model.text.size() ? model.text[number] : '\0'), "operator[]");
  Require(text.Last() == (isEmpty ? '\0' : model.text.back()), "Last");

  // Whatever the bytes are, what UTF-8 reads can be written and read again.
  const ZTKCA2WEX<128> wide(text.c_str(), kCodePageUtf8);
  const ZTKCW2AEX<128> narrow(wide.m_psz, kCodePageUtf8);
  const ZTKCA2WEX<128> again(narrow.m_psz, kCodePageUtf8);
  Require(std::wstring(wide.m_psz) == again.m_psz, "UTF-8 survives a round trip");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  Input input(pData, nSize);
  ZTKString text;
  Model model;
  std::vector<char> block(36, '#');
  if (input.Byte() % 2 != 0) {
    model.InitWith("lent text of 20 char");
    std::copy(model.text.begin(), model.text.end() + 1, block.begin());
    ZTKStringBlocks::BorrowBlock(text, block.data(), model.Length(), 36);
  }
  for (int steps = 0; !input.IsEmpty() && steps < 64; ++steps) {
    Change(input, text, model);
    if (model.text.size() > 4000) break;  // Replacing a text by itself may square its length.
    Require(text.c_str() == model.text, "the characters agree");
    Require(text.Len() == model.Length(), "the lengths agree");
    Require(text.AllocatedSize() == model.allocated, "the sizes agree");
    Require(text.DataLength() == model.dataLength, "the recorded lengths agree");
    Look(input, text, model);
  }
  return 0;
}
