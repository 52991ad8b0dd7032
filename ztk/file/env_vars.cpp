// Environment variables in a path text: $NAME, ${NAME}, $(NAME).
#include <cctype>

#include "ztk/file/file_name.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_text.h"

namespace {

bool IsNameCharacter(char ch) {
  return ch == '_' || std::isalnum(static_cast<unsigned char>(ch)) != 0;
}

/// A variable at the start of a text.
struct Variable {
  std::string_view name;
  size_t length = 1;  // Of the source text it takes, from '$' to the closing bracket.
};

// `text` starts with '$'. Without a name, only the '$' is taken.
Variable ParseVariable(std::string_view text) {
  Variable variable;
  size_t start = 1;
  char closing = '\0';
  if (start < text.size() && (text[start] == '{' || text[start] == '(')) {
    closing = text[start] == '{' ? '}' : ')';
    ++start;
  }
  size_t end = start;
  while (end < text.size() && IsNameCharacter(text[end])) ++end;
  if (end == start) return variable;

  variable.name = text.substr(start, end - start);
  if (closing != '\0' && end < text.size() && text[end] == closing) ++end;
  variable.length = end;
  return variable;
}

}  // namespace

ZTKString ZTKFileName::ExpandEnvVars(const ZTKString& text) {
  ZTKTextBuilder out;
  std::string_view rest = text.view();
  while (!rest.empty()) {
    const size_t plain = rest.find_first_of("\\$");
    out.Add(rest.substr(0, plain));
    if (plain == std::string_view::npos) break;
    rest.remove_prefix(plain);

    if (rest.front() == '\\') {
      const bool escapes = rest.size() > 1 && (rest[1] == '%' || rest[1] == '$');
      out.Add(escapes ? rest[1] : '\\');
      rest.remove_prefix(escapes ? 2 : 1);
      continue;
    }

    const Variable variable = ParseVariable(rest);
    const bool isDefined =
        !variable.name.empty() && XPGetEnv(ZTKString(variable.name).c_str(), out);
    // An undefined variable stays as it was written.
    if (!isDefined) out.Add(rest.substr(0, variable.length));
    rest.remove_prefix(variable.length);
  }
  return out.Finish();
}
