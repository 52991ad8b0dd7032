#pragma once

/// Whether a debugger runs this process. Programs that merely trace do not catch a break, and it
/// would end the process: only what is known to be a debugger counts.
bool XPHasDebugger() noexcept;
