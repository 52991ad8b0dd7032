#pragma once

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

/// The string as its contract reads, word for word: every operation counts, byte by byte up to the
/// NUL, and each step of an operation is made as it is described. To compare `ZTKString` with.
class LiteralString {
 public:
  unsigned long Len() const { return hasBlock ? static_cast<unsigned long>(Text().size()) : 0; }
  std::string Text() const { return hasBlock ? std::string(block.data()) : std::string(); }

  void Clear() {
    hasBlock = false;
    block.clear();
    allocated = dataLength = 0;
  }
  void Empty() {
    if (!hasBlock) return;
    block[0] = '\0';
    dataLength = 0;
  }
  void AllocBuffer(unsigned long n) {
    hasBlock = true;
    allocated = Rule(n);
    block.assign(allocated, '#');
    block.front() = block.back() = '\0';
    dataLength = 0;
    hasFreshBlock = true;
  }
  void Alloc(unsigned long n) {
    if (allocated > n) return;
    if (!hasBlock) return AllocBuffer(n);
    allocated = Rule(n);
    block.resize(std::max<size_t>(block.size(), allocated), '#');
    dataLength = Len();
  }
  void InitWith(const std::string& bytes) {
    if (bytes.empty()) return;
    AllocBuffer(Count(bytes));
    Put(0, bytes);
    dataLength = Count(bytes);
  }
  void Append(const std::string& text) {
    if (text.empty()) return;
    const unsigned long oldLength = Len();
    const unsigned long newLength = oldLength + Count(text);
    if (allocated <= newLength) Alloc(newLength);
    Put(oldLength, text);
    dataLength = newLength;
  }
  void Assign(const std::string& text) {
    if (Text() == text) return;
    Empty();
    Append(text);
  }
  void AssignCharacter(char ch) {
    Empty();
    Append(std::string(1, ch));
  }
  void Shrink() {
    if (dataLength == allocated || Len() == 0) return;
    allocated = dataLength = Len();
    block.resize(allocated + 1);
    hasFreshBlock = true;
  }
  void Truncate(unsigned long n) {
    if (Len() > n) block[n] = '\0';
  }
  void Erase(unsigned long nPos, unsigned long n) {
    const unsigned long length = Len();
    if (nPos >= length) return;
    if (n > length - nPos) return Truncate(nPos);
    std::memmove(block.data() + nPos, block.data() + nPos + n, length - nPos - n + 1);
  }
  /// The result of the formatter may hold NULs.
  void Printf(const std::string& formatted) {
    unsigned long size = 1024;
    for (;; size *= 2) {
      Alloc(size);
      Put(0, formatted.substr(0, size));
      if (formatted.size() <= size) break;
    }
    Shrink();
  }
  void Trim(bool fromRight) {
    unsigned long length = Len();
    if (length == 0) return;
    if (fromRight) {
      while (length > 0 && IsSpace(block[length - 1])) --length;
      block[length] = '\0';
    } else {
      unsigned long count = 0;
      while (IsSpace(block[count])) ++count;
      Erase(0, count);
    }
  }
  void ChangeCase(int (*pConvert)(int)) {
    const unsigned long length = Len();
    for (unsigned long i = 0; i < length; ++i) {
      block[i] = static_cast<char>(pConvert(static_cast<unsigned char>(block[i])));
    }
  }
  unsigned long Replace(const std::string& wanted, const std::string& put, bool all) {
    if (wanted.empty()) return 0;
    const std::string text = Text();
    std::string result;
    unsigned long count = 0;
    size_t rest = 0;
    while (rest < text.size()) {
      const size_t found = text.find(wanted, rest);
      if (found == std::string::npos) break;
      ++count;
      result += text.substr(rest, found - rest) + put;
      rest = found + wanted.size();
      if (!all) break;
    }
    if (count != 0) Assign(result + text.substr(rest));
    return count;
  }

  static bool IsSpace(char ch) { return ch == ' ' || (ch >= '\t' && ch <= '\r'); }
  static unsigned long Count(const std::string& text) {
    return static_cast<unsigned long>(text.size());
  }

  bool hasBlock = false;
  unsigned long dataLength = 0;
  unsigned long allocated = 0;
  std::vector<char> block;  // Of the real size: one more than is reported once it is shrunk.
  /// Whether a block was asked for that has nothing to do with the old one.
  bool hasFreshBlock = false;

 private:
  static unsigned long Rule(unsigned long n) { return n / 16 * 16 + 20; }
  void Put(unsigned long nAt, const std::string& bytes) {
    std::copy(bytes.begin(), bytes.end(), block.begin() + static_cast<long>(nAt));
    block[nAt + bytes.size()] = '\0';
  }
};
