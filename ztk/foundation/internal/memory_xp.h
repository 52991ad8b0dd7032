#pragma once

// What asks a platform layer about memory.

#include <cstddef>

/// Has the system bring up the memory of a range that is about to be written, which is cheaper in
/// one go than page by page. Never changes a byte, and never fails: what the system does not do now
/// happens as the bytes are written.
void XPPrepareMemory(void* pStart, size_t nSize) noexcept;
