#pragma once

#include "ztk/foundation/string.h"

enum KnownFolder { kProfile, kRoamingAppData };

/// A folder of the current user, without a separator at its end; "" when it cannot be had. Made
/// when it is missing, if `bCreate`.
ZTKString GetKnownFolder(KnownFolder folder, bool bCreate) noexcept;
