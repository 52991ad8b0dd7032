// Expansion of environment variables against a second implementation, written as a grammar.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include "ztk/file/file_name.h"

namespace {

const std::map<std::string, std::string>& Variables() {
  static const std::map<std::string, std::string> variables = [] {
    const std::map<std::string, std::string> all = {
        {"A", "value"}, {"AB", "/x/y"}, {"_", "under"}, {"B1", ""}, {"N", "$A${A}\\$A"}};
    for (const auto& [name, value] : all) setenv(name.c_str(), value.c_str(), 1);
    for (const char* pszName : {"C", "a", "Z9"}) unsetenv(pszName);
    return all;
  }();
  return variables;
}

// text     = { escape | variable | any }
// escape   = "\" ( "$" | "%" )
// variable = "$" [ "{" | "(" ] name [ the bracket that closes it ]
class Reference {
 public:
  explicit Reference(const std::string& text) : m_text(text) {}

  std::string Expand() {
    std::string result;
    while (m_at < m_text.size()) {
      if (!Escape(result) && !Variable(result)) result += m_text[m_at++];
    }
    return result;
  }

 private:
  char Peek(size_t nAhead = 0) const {
    return m_at + nAhead < m_text.size() ? m_text[m_at + nAhead] : '\0';
  }

  bool Escape(std::string& result) {
    if (Peek() != '\\' || (Peek(1) != '$' && Peek(1) != '%')) return false;
    result += Peek(1);
    m_at += 2;
    return true;
  }

  bool Variable(std::string& result) {
    if (Peek() != '$') return false;
    const size_t start = m_at;
    ++m_at;
    char closing = '\0';
    if (Peek() == '{') closing = '}';
    if (Peek() == '(') closing = ')';
    if (closing != '\0') ++m_at;
    std::string name;
    while (IsNameCharacter(Peek())) name += m_text[m_at++];
    if (name.empty()) {
      m_at = start;
      return false;
    }
    if (closing != '\0' && Peek() == closing) ++m_at;

    const char* pszValue = std::getenv(name.c_str());
    result += pszValue != nullptr ? pszValue : m_text.substr(start, m_at - start);
    return true;
  }

  static bool IsNameCharacter(char ch) {
    return (ch >= '0' && ch <= '9') || (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z') ||
           ch == '_';
  }

  const std::string& m_text;
  size_t m_at = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  Variables();
  std::string text(reinterpret_cast<const char*>(pData), nSize);
  if (text.find('\0') != std::string::npos) text.resize(text.find('\0'));
  const ZTKString expanded = ZTKFileName::ExpandEnvVars(text.c_str());
  if (Reference(text).Expand() != expanded.c_str()) std::abort();
  return 0;
}
