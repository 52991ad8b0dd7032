#pragma once

#include <string_view>

/// Writes UTF-8 to the standard error stream: to a console as text, whatever its code page is, with
/// U+FFFD in place of what is ill-formed; to files and pipes its bytes. Lines end on a line feed.
void WriteToErrorStream(std::string_view text) noexcept;
