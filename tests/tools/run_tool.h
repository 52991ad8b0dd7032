#pragma once

#include <string>
#include <vector>

/// What the program printed, and how it ended.
struct ToolResult {
  int nExitCode = -1;  ///< -1 when a signal ended it.
  std::string output;
  std::string errors;
};

/// Runs the command line tool to its end.
ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& input = "");
