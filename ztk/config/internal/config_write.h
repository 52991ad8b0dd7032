#pragma once

#include <cstdint>

class ZTKTextBuffer;
struct ZTKConfigTree;

// From a tree to the lines of a configuration file. Internal to the library.
//
// Both are false when memory runs out: the lines are of no use then. `nMaxSize` is the most bytes
// that the file may have; otherwise the result is false, and `nSize` what it would have.

/// Makes the lines of `text` those of the tree.
bool ZTKWriteConfig(ZTKConfigTree& tree, ZTKTextBuffer& text, uint64_t nMaxSize,
                    uint64_t& nSize) noexcept;

/// Changes the lines of `text` so that they say what the tree holds, and leaves alone whatever says
/// so already, comments, blank lines and lines that mean nothing included.
bool ZTKRewriteConfig(ZTKConfigTree& tree, ZTKTextBuffer& text, uint64_t nMaxSize,
                      uint64_t& nSize) noexcept;
