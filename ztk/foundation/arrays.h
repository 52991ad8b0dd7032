#pragma once

// The arrays: of pointers, of strings, and of line-end types.
#include "ztk/foundation/lines_type_array.h"
#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string_array.h"
