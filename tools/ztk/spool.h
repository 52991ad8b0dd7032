#pragma once

#include <string>
#include <string_view>

#include "tools/ztk/host.h"

/// A copy of what cannot be read twice, in the folder for temporary files. However the program
/// ends, nothing is left behind.
class Spool {
 public:
  /// Throws a Failure when no file can be created.
  Spool();

  /// Throws a Failure with the reason when not all of it can be written.
  void Put(std::string_view bytes);

  /// Where the copy can be opened, as long as the object lives.
  std::string Path() const;

 private:
  [[noreturn]] void Fail() const;

  std::string m_folder;
  HostFile m_file;
};
