#include "examples/notes/note.h"

#include <string_view>

#include "ztk/file/file_name.h"

namespace {

// Splits a path into folder and file name, by the library's own rules.
void Split(const std::string& path, ZTKString& folder, ZTKString& name) {
  ZTKString extension;
  ZTKFileName::SplitPath(ZTKString(path.c_str()), &folder, &name, &extension, ZTKPathNative);
  if (extension.Len() != 0) name.append('.', 1).append(extension);
}

}  // namespace

bool Note::Load(const std::string& file) {
  ZTKTextFile source(file.c_str());
  if (!source.Open()) return false;

  unsigned long count[4] = {};  // Lines of each kind of line end.
  std::string lines;
  for (unsigned long i = 0; i < source.GetLineCount(); ++i) {
    const ZTKTextFileType type = source.GetLineType(i);
    lines += source.GetLine(i).view();
    if (type == EOL_NONE) continue;  // The last line, not ended.
    lines += '\n';
    if (type > EOL_NONE && type <= EOL_MAC) ++count[type];
  }
  path = file;
  text = std::move(lines);
  encoding = source.GetEncoding();
  lineEnd = EOL_UNIX;
  for (const ZTKTextFileType type : {EOL_DOS, EOL_MAC}) {
    if (count[type] > count[lineEnd]) lineEnd = type;
  }
  mixedLineEnds = (count[EOL_UNIX] != 0) + (count[EOL_DOS] != 0) + (count[EOL_MAC] != 0) > 1;
  return true;
}

bool Note::Save() {
  ZTKTextFile target(path.c_str());
  std::string_view rest = text;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    const bool ended = end != std::string_view::npos;
    target.AddLine(ZTKString(rest.substr(0, end)), ended ? lineEnd : EOL_NONE);
    rest.remove_prefix(ended ? end + 1 : rest.size());
  }
  if (!target.Write(EOL_NONE)) return false;  // Each line with the line end it was given.
  encoding = ENC_UTF8;
  mixedLineEnds = false;
  return true;
}

std::string Note::GetName() const {
  if (path.empty()) return "Untitled note";
  ZTKString folder;
  ZTKString name;
  Split(path, folder, name);
  return name.c_str();
}

std::string Note::GetFolder() const {
  ZTKString folder;
  ZTKString name;
  Split(path, folder, name);
  return folder.c_str();
}

const char* Note::GetEncodingName() const {
  switch (encoding) {
    case ENC_UTF8:
      return "UTF-8";
    case ENC_UTF16LE:
      return "UTF-16 LE";
    case ENC_UTF16BE:
      return "UTF-16 BE";
    default:
      return "System text";
  }
}

const char* Note::GetLineEndName() const {
  if (mixedLineEnds) return "Mixed";
  switch (lineEnd) {
    case EOL_DOS:
      return "CR LF";
    case EOL_MAC:
      return "CR";
    default:
      return "LF";
  }
}
