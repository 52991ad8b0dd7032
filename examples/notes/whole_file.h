#pragma once

#include <string>

/// Reads all of a file; "", or the reason why not, a sentence. Only plain files: others may be
/// without end.
std::string ReadWhole(const std::string& path, std::string& bytes);

/// The system's words for an error number, as a sentence.
std::string Reason(int nError);
