#include "ztk/foundation/arrays.h"
