#pragma once

#include <CLI/CLI.hpp>
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

/// The code that the program is to end with, when a command gave a result but not a good one.
void SetExitCode(int nCode);

/// Adds "--json".
void AddJsonFlag(CLI::App& command, bool& asJson);
