#pragma once

#include "ztk/foundation/string.h"

/// The path at the end of the links, which need not be there; of what is no link, the path itself.
/// False when the links go round, or one of them cannot be read. Where the layer knows no links,
/// nothing is one.
bool ZTKFindEndOfLinks(const ZTKString& path, ZTKString& end) noexcept;
