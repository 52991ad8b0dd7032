#pragma once

#include <functional>
#include <string>
#include <string_view>

/// Takes a piece of text; throws a Failure with the reason when it cannot be written.
using TextSink = std::function<void(std::string_view)>;

/// Has `write` write a text to `target`; "-" is standard output.
///
/// A regular file is replaced in one step once the new one is complete; a link is followed, and a
/// file that has other hard links stays the same file. What exists and is no regular file, such as
/// a device or a pipe, is written into. Throws a Failure with the reason; a file is as it was then.
/// An interrupt while a file is being replaced ends the program when the temporary file has gone.
void WriteText(const std::string& target, const std::function<void(const TextSink&)>& write);
