#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What the tool asks the system beyond the library. One source for each system answers:
// host_unix.cpp and host_windows.cpp. Texts are UTF-8 on Windows, and as the system has them
// elsewhere.

/// The arguments, without the program's name. Afterwards the standard streams take and give bytes
/// as they are, which a console shows as UTF-8. Throws a Failure for what is no text.
std::vector<std::string> BeginProgram(int argc, char** argv);
/// Waits until all that was printed is shown. Nothing may be printed afterwards.
void EndProgram();

enum class FileKind { kMissing, kRegular, kFolder, kOther };

/// What a path leads to, links followed. Throws a Failure with the reason where that cannot be
/// told.
FileKind KindOf(const std::string& path);

/// The path from the root of the file system on; dots may stay in it.
std::string AbsolutePath(const std::string& path);

/// The number of errno for the reason why an existing file may not be written; 0 where it may.
int WriteRefusal(const std::string& path);

/// A file written without a buffer. A failure is false, with the reason in errno.
class HostFile {
 public:
  HostFile() = default;
  ~HostFile() { Close(); }
  HostFile(const HostFile&) = delete;
  HostFile& operator=(const HostFile&) = delete;

  /// Opens what exists, a pipe or a device, for writing. It is neither created nor emptied.
  bool OpenExisting(const std::string& path);
  /// Makes a file that goes when it is closed, however the program ends.
  bool CreateTemporary(const std::string& folder);

  bool Write(std::string_view bytes);
  bool Close();
  /// Where a temporary file can be opened for reading.
  std::string Path() const;

 private:
  std::intptr_t m_handle = -1;
  std::string m_path;
};

/// The folder for temporary files.
std::string TemporaryFolder();

/// Whether standard error is a terminal that understands escape sequences.
bool IsErrorATerminal();

/// From here on until `ReleaseInterrupts` an interrupt (Ctrl-C, the end of the session) is noted
/// and does not end the program. What the program was started to ignore stays ignored. Not nested.
void DeferInterrupts();
bool IsInterrupted();
/// Ends the program as the interrupt would have, if one came.
void ReleaseInterrupts();
