#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ztk/file/file_name.h"

// Each adds one command with its options to the program. A command prints its result to standard
// output and throws a Failure when it has to give up.
void AddTextCommand(CLI::App& app);
void AddConfCommand(CLI::App& app);
void AddPathCommand(CLI::App& app);
void AddDataCommand(CLI::App& app);

/// The code that the program is to end with, when a command gave a result but not a good one. The
/// worst of several holds.
void SetExitCode(int nCode);

/// Does something with each of several files or paths: one that fails is reported with its reason,
/// and does not stop the others.
void ForEachName(const std::vector<std::string>& names,
                 const std::function<void(const std::string& name)>& work);

/// Adds "--json".
void AddJsonFlag(CLI::App& command, bool& asJson);
