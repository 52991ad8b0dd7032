#pragma once

#include <stdexcept>
#include <string>

/// How the program ends.
enum ExitCode : int {
  kOk = 0,      ///< Done.
  kNo = 1,      ///< Read, and the answer is no: nothing found, not text, data that ends too soon.
  kUsage = 2,   ///< The command line makes no sense.
  kFailed = 3,  ///< A file cannot be read or written.
};

/// Ends a command: the text goes to standard error, the code to whoever started the program.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}

  ExitCode Code() const noexcept { return m_code; }

 private:
  ExitCode m_code;
};
