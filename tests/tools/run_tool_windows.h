#pragma once

#include <string>
#include <vector>

std::wstring WideText(const std::string& text);

/// The command line that gives the tool these arguments.
std::wstring ToolCommandLine(const std::vector<std::string>& arguments);
