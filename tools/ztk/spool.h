#pragma once

#include <string>
#include <string_view>

/// A copy of what cannot be read twice, in the temporary folder (TMPDIR). It has no name there:
/// however the program ends, nothing is left behind.
class Spool {
 public:
  /// Throws a Failure when no file can be created.
  Spool();
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  /// Throws a Failure with the reason when not all of it can be written.
  void Put(std::string_view bytes);

  /// Where the copy can be opened, as long as the object lives.
  std::string Path() const;

 private:
  std::string m_folder;
  int m_fd;
};
