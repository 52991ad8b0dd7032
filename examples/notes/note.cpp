#include "examples/notes/note.h"

#include <glib/gstdio.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "examples/notes/whole_file.h"
#include "ztk/file/file_name.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr unsigned int kInPlace =
    TEMP_ONE_STEP | TEMP_FOLLOW_LINKS | TEMP_KEEP_IDENTITY | TEMP_EXACT_PATH;
constexpr unsigned int kAsItWas = kInPlace | TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16;
constexpr char kNoTrial[] = "There is no room to try whether saving would lose anything.";
constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";

// Splits a path into folder and file name, by the library's own rules.
void Split(const std::string& path, ZTKString& folder, ZTKString& name) {
  ZTKString extension;
  ZTKFileName::SplitPath(ZTKString(path.c_str()), &folder, &name, &extension, ZTKPathNative);
  if (extension.Len() != 0) name.append('.', 1).append(extension);
}

bool IsSameFile(const std::string& a, const std::string& b) {
  GStatBuf first;
  GStatBuf second;
  return g_stat(a.c_str(), &first) == 0 && g_stat(b.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// Takes the first line and its line end off a text.
std::string_view NextLine(std::string_view& rest, ZTKTextFileType& type) {
  const size_t end = rest.find_first_of("\r\n");
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(line.size());
  type = rest.empty()                  ? EOL_NONE
         : rest.substr(0, 2) == "\r\n" ? EOL_DOS
         : rest.front() == '\r'        ? EOL_MAC
                                       : EOL_UNIX;
  rest.remove_prefix(ZTKTextBuffer::GetEOL(type).Len());
  return line;
}

std::string WriteWhole(const std::string& path, const std::string& bytes) {
  errno = 0;
  ZTKTempFile target(path.c_str(), kInPlace);
  if (target.GetFile().IsOpen() &&
      target.GetFile().Write(bytes.data(), bytes.size()) == bytes.size()) {
    errno = 0;
    if (target.Commit()) return "";
  }
  return Reason(errno);
}

}  // namespace

std::string Note::Load(const std::string& file) {
  Note note;
  note.path = file;
  std::string problem = ReadWhole(file, note.m_onDisk);
  if (!problem.empty()) return problem;
  ZTKTextReport report;
  note.m_file = std::make_shared<ZTKTextFile>(file.c_str(), kAsItWas);
  errno = 0;
  if (!note.m_file->Open(report)) return Reason(errno);
  note.m_bLegacy = report.nEncoding == ENC_ANSI && report.nFirstIllFormed >= 0;
  note.TakeLines();
  note.unsavable = note.WhatWouldBeLost(report);
  if (note.m_onDisk.empty()) note.m_file.reset();
  *this = std::move(note);
  return "";
}

void Note::TakeLines() {
  unsigned long count[4] = {};  // Lines of each kind of line end.
  for (unsigned long i = 0; i < m_file->GetLineCount(); ++i) ++count[m_file->GetLineType(i)];
  for (const ZTKTextFileType type : {EOL_DOS, EOL_MAC}) {
    if (count[type] > count[lineEnd]) lineEnd = type;
  }
  mixedLineEnds = (count[EOL_UNIX] != 0) + (count[EOL_DOS] != 0) + (count[EOL_MAC] != 0) > 1;
  unsigned long index = 0;
  for (const ZTKString& line : *m_file) {
    const ZTKTextFileType type = m_file->GetLineType(index++);
    text += line.view();
    text += type == EOL_NONE ? "" : mixedLineEnds ? ZTKTextBuffer::GetEOL(type).c_str() : "\n";
  }
  char* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  text = valid;
  g_free(valid);
}

void Note::PutLines(ZTKTextFile& target) const {
  target.Clear();
  std::string_view rest = text;
  do {  // One line at least: without any, the file would lose its mark.
    ZTKTextFileType type = EOL_NONE;
    const std::string_view line = NextLine(rest, type);
    target.AddLine(ZTKString(line), type == EOL_NONE || mixedLineEnds ? type : lineEnd);
  } while (!rest.empty());
}

// Tries it on a copy: what is saved without a change must be what was read, byte by byte.
std::string Note::WhatWouldBeLost(const ZTKTextReport& report) const {
  if (m_onDisk.empty()) return "";
  const std::string at = std::to_string(report.nFirstIllFormed);
  if (report.nNuls != 0) return "The file has NUL characters; what follows them would be lost.";
  if (report.bOddByte) return "The file ends inside a UTF-16 character, which would be lost.";
  if (report.nFirstIllFormed >= 0 && report.nEncoding != ENC_ANSI) {
    return "The file is damaged at byte " + at + "; saving would put other characters there.";
  }

  char* copy = nullptr;
  const int handle = g_file_open_tmp("ztk-notes-XXXXXX", &copy, nullptr);  // For nobody else.
  if (handle < 0) return kNoTrial;
  g_close(handle, nullptr);
  std::string again;
  ZTKTextFile trial(copy, TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16);
  ZTKFile file(copy, ZTKFile::write);
  bool tried = file.Write(m_onDisk.data(), m_onDisk.size()) == m_onDisk.size();
  tried = file.Close() && tried && trial.Open();
  PutLines(trial);
  const bool same =
      tried && trial.Write(EOL_NONE) && ReadWhole(copy, again).empty() && again == m_onDisk;
  g_unlink(copy);
  g_free(copy);
  if (same) return "";
  if (!tried) return kNoTrial;
  if (m_bLegacy) {
    return "Some lines are UTF-8 and others are not, first at byte " + at + "; that would be lost.";
  }
  return "The file has line ends that cannot be written again as they are.";
}

std::string Note::Save() {
  if (!unsavable.empty()) return unsavable;
  std::string now;
  if (ReadWhole(path, now).empty() && now != m_onDisk) {
    return "Another program has changed the file since it was opened.";
  }
  if (m_file == nullptr) return SaveAs(path);
  PutLines(*m_file);
  errno = 0;
  const bool written = m_file->Write(EOL_NONE);
  const int error = errno;
  ReadWhole(path, m_onDisk);
  return written ? "" : WhyNotWritten(error);
}

std::string Note::WhyNotWritten(int nError) const {
  if (m_bLegacy) {
    char* const bytes = g_convert(text.data(), static_cast<gssize>(text.size()), "WINDOWS-1252",
                                  "UTF-8", nullptr, nullptr, nullptr);
    g_free(bytes);
    if (bytes == nullptr) return "The text has characters that Windows-1252 lacks.";
  }
  return nError != 0 ? Reason(nError) : "The encoding of the file cannot hold this text.";
}

std::string Note::SaveAs(const std::string& file) {
  if (m_file != nullptr && IsSameFile(file, path)) return Save();
  Note saved = *this;
  if (lineEnd == EOL_MAC) saved.lineEnd = EOL_UNIX;  // Empty lines between CRs do not come back.
  ZTKTextFile lines("");
  saved.PutLines(lines);
  std::string bytes;
  for (unsigned long i = 0; i < lines.GetLineCount(); ++i) {
    bytes += lines.GetLine(i).view();
    bytes += ZTKTextBuffer::GetEOL(lines.GetLineType(i)).view();
  }
  // Read again to see what others will read: in some locales it takes the mark to tell UTF-8.
  for (const char* const mark : {"", kUtf8Mark}) {
    std::string problem = WriteWhole(file, mark + bytes);
    if (problem.empty()) problem = saved.Load(file);
    if (!problem.empty()) return problem;
    if (bytes.empty() ||
        std::equal(lines.begin(), lines.end(), saved.m_file->begin(), saved.m_file->end())) {
      break;
    }
  }
  *this = std::move(saved);
  return "";
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
  switch (m_file != nullptr ? m_file->GetEncoding() : 0) {
    case ENC_UTF8:
      return "UTF-8 with mark";
    case ENC_UTF16LE:
      return "UTF-16 LE";
    case ENC_UTF16BE:
      return "UTF-16 BE";
    default:
      return m_bLegacy ? "Windows-1252" : "UTF-8";
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
